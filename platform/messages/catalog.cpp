#include "platform/messages/catalog.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/messages/usageText.h"

namespace {

// The identifier of a message never changes and is never used again: users search for it.
constexpr CatalogMessage catalog[] = {
    // Set 32: the tool.
    {32, 1, 'I', 1, "Configuration file: %1$s"},
    {32, 2, 'E', 1,
     "Configuration file %1$s was not found or cannot be read. Name the right file with -f, and "
     "check that you may read it."},
    {32, 4, 'E', 1,
     "Configuration file, line %1$s: this key is not allowed here. Global keys (actiontype, "
     "basedirectory, inputfile, logfile, defaultoutputfile, splitby) stand before the first "
     "basedn, basedirectory before every file name; after a basedn only url, file and basedn may "
     "follow. Every line reads \"key: value\"."},
    {32, 5, 'I', 1, usageText},
    {32, 6, 'E', 2,
     "Configuration file: \"%1$s\" is not a value that %2$s can have. actiontype takes "
     "splitonly, splitby takes rdnhash or numservers, basedn takes a DN, url takes an LDAP URL; "
     "no value may be empty. A log or output file may not be the input, the configuration or one "
     "another, under whatever name or link: nothing of it was emptied; name another file."},
    {32, 7, 'E', 2,
     "File %1$s does not exist or cannot be opened. It is named on line %2$s of the configuration "
     "file; 0 stands for the log file and for a name that no line gives. Check the name, the "
     "directory and your permissions; with -r, output files must exist already."},
    {32, 8, 'E', 1,
     "File %1$s exists and is not overwritten. Move it away or name another file; -r overwrites "
     "existing files."},
    {32, 13, 'E', 1,
     "%1$s is not a directory. basedirectory has to name an existing directory in which the file "
     "names without a slash are looked up."},
    {32, 17, 'E', 3,
     "Configuration file, line %3$s: \"%1$s\" has the value \"%2$s\" already on an earlier line. "
     "Give each base DN one section with all of its servers."},
    {32, 19, 'E', 3,
     "Configuration file, line %3$s: key \"%1$s\" is not allowed where splitby is %2$s. Remove "
     "the line or change splitby."},
    {32, 27, 'E', 0,
     "The run ends before the split: the configuration cannot be used. The messages before this "
     "one name the fault and what is known of it."},
    {32, 28, 'I', 0, "The log file is open; the line number of a failure is appended to it."},
    {32, 30, 'I', 1,
     "Recovery mode: the files named in %1$s must exist already; the output files are written "
     "anew, from the first line of the input."},
    {32, 33, 'E', 2,
     "Input file %2$s, line %1$s: not valid LDIF. A line reads \"type: value\" or \"type:: "
     "base64\", a comment starts with #, a continuation with one space. A physical line of more "
     "than 4095 bytes is read in pieces, each of which has to be such a line of its own: fold "
     "lines that are longer."},
    {32, 34, 'E', 1,
     "The split stopped at input line %1$s; the output files are not complete. Line 0: the input "
     "file or an output file cannot be opened or created (check its name, your permissions and "
     "free space). Otherwise that line cannot be read, is not valid LDIF, or is a dn line without "
     "a valid DN. Mend the fault, remove the output files and run again."},
    {32, 36, 'W', 1,
     "No defaultoutputfile is configured: entries below no base DN go to %1$s in the working "
     "directory."},
    {32, 37, 'I', 1, "Beginning to split the input file named in %1$s."},
    {32, 39, 'I', 0, "The split is complete."},
    {32, 40, 'E', 1,
     "File %1$s does not exist, so no referral can be added to it. Split first, and name the "
     "file that the split wrote."},
    {32, 41, 'E', 1,
     "File %1$s: a referral entry cannot be written in full. Check free space and that the "
     "referral URL is not empty."},
    {32, 43, 'I', 1, "The referrals to the server of %1$s are in the other servers' files."},
    {32, 46, 'E', 1,
     "Option -%1$s needs an argument that is not empty and does not begin with \"-\". An unknown "
     "option such as -h shows the usage."},
    {32, 48, 'E', 2,
     "Configuration file, line %2$s: \"%1$s\" is configured a second time. Keep one of the lines."},
    {32, 49, 'E', 1,
     "The configuration file has no \"%1$s\" line, or has it too late: it is mandatory before "
     "the first basedn (basedn itself: at least one)."},
    {32, 51, 'E', 2,
     "The base DN section that ends before line %2$s of the configuration file lacks a \"%1$s\" "
     "line. Each server needs one url and one file."},
    {32, 52, 'E', 1,
     "Output file %1$s cannot be written. Check free space, quota and file size limit, remove "
     "the output files and run again."},
    {32, 60, 'W', 2,
     "Input file %2$s, line %1$s: a physical line of more than 4095 bytes is read in pieces, "
     "and this piece changes the output. Fold the input to lines of at most 4095 bytes and run "
     "again."},
    {32, 61, 'W', 2,
     "The split may want %1$s files open at a time, this process's others included, but the limit "
     "is %2$s. It goes on, and fails where an output file cannot be opened (VNL032034E, line 0): "
     "then raise the limit of open files (ulimit -n), remove the output files and run again."},
    {32, 62, 'E', 4,
     "Configuration file %1$s, line %2$s reads: %3$s | Did you mean the key \"%4$s\"? (Nothing "
     "between the quotation marks: the key is right, or resembles none that may stand there.)"},
    {32, 63, 'W', 1,
     "The input has no entry %1$s and none below it. Check that base DN in the configuration file: "
     "entries below no base DN are in the default output file."},
    {32, 64, 'W', 1,
     "The input has entries below %1$s, but not that entry itself. Its servers need it before the "
     "entries below it: add it to each of their files."},
    {32, 65, 'W', 2,
     "Configuration file, line %2$s: the first RDN of the base DN %1$s has several values (joined "
     "by +). No entry below it is recognised: they go to the file of the base DN above it, or to "
     "the default output file. Name a base DN with one value in its RDN."},
    {32, 66, 'W', 2,
     "Input file %2$s, line %1$s: \"dn\" is in other letters here, so that the line starts no entry. "
     "It was copied as a line of the entry before it, if there is one; write it in small letters to "
     "start one."},
    {32, 67, 'W', 2,
     "Input file %2$s, line %1$s: an attribute line before the first dn line belongs to no entry. "
     "Such lines are left out."},
    {32, 68, 'W', 1,
     "\"%1$s\" is no option and is ignored, and so is any further operand. A configuration file is "
     "named with -f; -h shows the options."},
    {32, 69, 'W', 2,
     "Input file %2$s ends in line %1$s without a line end. It may have been cut short: check that "
     "its last entry is whole."},
    {32, 70, 'W', 2,
     "Input file %2$s, line %1$s: a change record. Its lines are taken for those of an entry, and a "
     "line of a hyphen alone, which no entry has, stops the run: split an export of entries, and apply "
     "changes to the servers."},
    {32, 71, 'W', 2,
     "Two servers of the base DN %1$s have the same URL, %2$s: its entries are spread over both "
     "files. If one of the lines was copied and not changed, mend it, remove the output files and "
     "run again."},
    {32, 72, 'W', 3,
     "Configuration file, line %3$s: the value of %1$s is %2$s with its quotation marks, or with "
     "what follows the blank and the #. Neither has a meaning there: write the bare value, and "
     "a comment on a line of its own."},
    {32, 73, 'E', 2, "File %1$s: %2$s. This is what the system says about the fault named before."},
    {32, 74, 'E', 2,
     "File %1$s is %2$s, which is not read as it stands. Hand over the plain text by a pipe: "
     "\"zcat FILE | varnel\" (or bzcat, xzcat, zstdcat; \"tail -c +4 FILE | varnel\" behind a "
     "byte order mark) with \"inputfile: /dev/stdin\" or, for the configuration, -f /dev/stdin."},
    // What a terminal shows, without these identifiers: a line that is written anew, and a table.
    {32, 75, 'I', 6, "%1$s  %2$s left  %3$s of %4$s  %5$s/s  %6$s entries"},
    {32, 76, 'I', 3, "%1$s  %2$s/s  %3$s entries"},
    {32, 77, 'I', 0, "file | entries | size | share"},
    {32, 78, 'I', 5, "%1$s  %2$s  %3$s  %4$s  %5$s"},
    {32, 79, 'I', 1, "Base DN %1$s"},
    {32, 80, 'I', 0, "each of these files"},
    {32, 81, 'I', 0, "Below no base DN"},

    // Set 33, numbers 1 to 19: the instance (platform/instance).
    {33, 1, 'E', 1,
     "\"%1$s\" is not an instance name. A name is 1 to 64 letters, digits, \"-\", \"_\" or \".\" "
     "and does not begin with \".\"; the path of an instance's directory has a \"/\" in it."},
    {33, 2, 'E', 2,
     "Instance %1$s: there is no directory %2$s, or it cannot be reached. Check the name given "
     "with -I and your permissions, or create the directory with a file instance.conf in it."},
    {33, 3, 'E', 3,
     "Instance %1$s: its configuration file %2$s cannot be read: %3$s. Create it, or check your "
     "permissions."},
    {33, 4, 'E', 4,
     "Instance %1$s, file %2$s, line %3$s: \"%4$s\" has no colon after a key. Lines read "
     "\"systemschema: PATH\" or \"userschema: PATH\", comments begin with #."},
    {33, 5, 'E', 4,
     "Instance %1$s, file %2$s, line %3$s: \"%4$s\" is not a key. The keys are systemschema and "
     "userschema."},
    {33, 6, 'E', 4,
     "Instance %1$s, file %2$s, line %3$s: the key \"%4$s\" has no value. Name a schema file, or "
     "a directory of schema files."},
    {33, 7, 'E', 4,
     "Instance %1$s, file %2$s, line %3$s: the schema path cannot be read: %4$s. Check the name "
     "and your permissions; a relative path begins at the instance's directory."},
    {33, 8, 'W', 4,
     "Instance %1$s, file %2$s, line %3$s: the directory %4$s holds no file that ends in .schema "
     "or .ldif, so nothing is read from it."},

    // Set 33, numbers 20 to 39: the schema (platform/schema).
    {33, 20, 'W', 2,
     "Schema file %1$s cannot be read: %2$s. The run goes on without it; check the name and your "
     "permissions."},
    {33, 21, 'W', 3,
     "Schema file %1$s, line %2$s: a definition cannot be read: %3$s. It is left out; mend it to "
     "have it count."},
    {33, 22, 'W', 3,
     "Schema file %1$s, line %2$s: the line is no part of a schema file: %3$s. It is passed "
     "over; a line reads \"attributeTypes: ( ... )\", \"olcAttributeTypes: ( ... )\" or "
     "\"attributetype ( ... )\", and is continued by lines that begin with a blank."},
    {33, 23, 'W', 2,
     "Schema file %1$s: %2$s further lines are no part of a schema file and are passed over."},
    {33, 24, 'W', 3,
     "Schema file %1$s, line %2$s: %3$s. Check which of the files the server uses, and list only "
     "those."},
    {33, 25, 'W', 3,
     "Schema file %1$s, line %2$s: %3$s. It counts as unknown; add the schema file that defines "
     "the supertype."},
    {33, 26, 'W', 3,
     "Schema file %1$s, line %2$s: %3$s. It counts as unknown; break the cycle of supertypes."},
};

constexpr bool before(const CatalogMessage& a, const CatalogMessage& b) {
  return std::pair(a.set, a.number) < std::pair(b.set, b.number);
}

static_assert(std::is_sorted(std::begin(catalog), std::end(catalog), before));

}  // namespace

std::span<const CatalogMessage> messageCatalog() {
  return catalog;
}

const CatalogMessage* findMessage(int set, int number) {
  const CatalogMessage wanted{set, number, 'E', 0, ""};
  const auto* found = std::lower_bound(std::begin(catalog), std::end(catalog), wanted, before);
  return found != std::end(catalog) && !before(wanted, *found) ? found : nullptr;
}
