/* One logical line of LDIF (RFC 2849) taken apart in place. */
#ifndef PLATFORM_LDIF_STR_PARSE_LINE_V_OR_BV_H
#define PLATFORM_LDIF_STR_PARSE_LINE_V_OR_BV_H

/* Results of str_parse_line_v_or_bv. */
enum {
  ldifLineParsed = 0,   /* type and value are set */
  ldifLineInvalid = -1, /* no colon, an empty or otherwise formed type, or bad base64 */
  ldifLineSkipped = -2  /* a comment or an empty line */
};

/* What `encoding` says of a value. */
enum { ldifValuePlain = 0, ldifValueBase64 = 1, ldifValueUrl = 2 };

/// Takes `line` apart: one logical line, NUL-terminated, with its folds (LF or CR LF and one blank)
/// and its line end (LF or CR LF), both of which go. It is changed in place; every result points
/// into it and lives as long as it does, save that a DN which outgrows the line (below) stands in
/// memory of the calling thread until its next call.
///
/// `*type` is the attribute description as written, options included: letters, digits, `-`, `_`,
/// `.`, then any number of `;` with at least one such character. Blanks before the colon are
/// ignored.
/// `*value` is the value without the blanks behind the colon, decoded where it is base64, followed
/// by a NUL; `*valueLength` is its length in bytes (the largest int where it is longer), which
/// tells a NUL inside a base64 value from its end. For a URL (`type:< url`) `*url` points at it and
/// the value is empty: nothing is opened. Base64 is valid only with its padding and without blanks;
/// bits left over in its last group are ignored.
///
/// A base64 value of the type "dn" comes back as a DN text (RFC 4514) that is safe on one line and
/// names the same entry: leading blanks go; each control byte, NUL and DEL is written as `\` and
/// two upper-case hexadecimal digits, and so is a last blank that a `\` escapes; blanks behind that
/// one go.
///
/// `flag` is 1. Returns one of the results above; where it is not 0, type, value and url are null
/// pointers. Safe to call from any thread.
int str_parse_line_v_or_bv(char* line, char** type, char** value, int* valueLength, int flag,
                           char** url, int* encoding);

#endif
