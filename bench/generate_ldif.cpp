// Writes the LDIF export of an invented directory to standard output: generate_ldif KIND ENTRIES.
//
// The same arguments give the same bytes. In front of the entries stand the ones that they are
// below; these are not counted. The kinds are listed at `kinds`, near the end.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

/// Entries are numbered from here, so that nearly every number has the same count of digits and an
/// entry of a short export is not smaller than one of a long export.
constexpr std::uint64_t firstNumber = 100000;

const std::string top = "dc=example,dc=com";
const std::string people = "ou=people," + top;

/// SplitMix64: small, and the same everywhere.
class Numbers {
 public:
  std::uint64_t next() {
    state_ += 0x9e3779b97f4a7c15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
    return z ^ (z >> 31U);
  }

  /// A number from `least` to `most`.
  std::uint64_t between(std::uint64_t least, std::uint64_t most) {
    return least + next() % (most - least + 1);
  }

 private:
  std::uint64_t state_ = 1;
};

using Syllables = std::string_view[16];

constexpr Syllables ascii = {"ka", "lo", "mi", "ra",  "ten", "bor", "su",  "vel",
                             "na", "di", "or", "fen", "li",  "gu",  "san", "tor"};
constexpr Syllables latin = {"kå", "lö", "mí", "rã",  "ten", "bør", "sú",  "vel",
                             "ñá", "dï", "ør", "fén", "lî",  "gü",  "sán", "tör"};
constexpr Syllables greek = {"κα", "λο", "μι", "ρα",  "τεν", "βορ", "σύ",  "βελ",
                             "να", "δι", "ορ", "φέν", "λι",  "γυ",  "σαν", "τορ"};
constexpr Syllables cyrillic = {"ка", "ло", "ми", "ра",  "тен", "бор", "су",  "вел",
                                "на", "ди", "ор", "фен", "ли",  "гу",  "сан", "тор"};
constexpr Syllables cjk = {"山", "川", "田", "中", "林", "木", "石", "金",
                           "水", "高", "安", "東", "北", "原", "村", "井"};

std::string word(Numbers& numbers, const Syllables& syllables = ascii) {
  std::uint64_t bits = numbers.next();
  std::string result;
  for (int i = 0; i < 3; ++i, bits >>= 4U) {
    result += syllables[bits & 15U];
  }
  return result;
}

std::string base64(std::string_view bytes) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::string_view group = bytes.substr(at, 3);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8U | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      result += i > group.size() ? '=' : digits[bits >> (18U - 6U * i) & 63U];
    }
  }
  return result;
}

std::string randomBytes(Numbers& numbers, std::size_t size) {
  std::string result;
  while (result.size() < size) {
    std::uint64_t bits = numbers.next();
    for (int i = 0; i < 8 && result.size() < size; ++i, bits >>= 8U) {
      result += static_cast<char>(bits & 255U);
    }
  }
  return result;
}

/// The line with its line feed, folded so that no physical line is longer than 76 bytes.
std::string folded(std::string_view line) {
  constexpr std::size_t width = 76;
  std::string result(line.substr(0, width));
  for (std::size_t at = width; at < line.size(); at += width - 1) {
    result += "\n ";
    result += line.substr(at, width - 1);
  }
  return result + "\n";
}

// --- People, as a directory has them -------------------------------------------------------------

bool standsDeeper(std::uint64_t number) {
  return number % 10 == 9;
}

/// 21 lines of 30 bytes on the average, one of them a continuation. One person in ten stands below
/// the one before.
std::string ordinaryPerson(Numbers& numbers, std::uint64_t number) {
  const std::string uid = "user" + std::to_string(number);
  const std::string given = word(numbers);
  const std::string surname = word(numbers);
  const std::string above =
      standsDeeper(number) ? "uid=user" + std::to_string(number - 1) + "," + people : people;
  std::string entry = "dn: uid=" + uid + "," + above + "\n";
  entry += "objectClass: top\nobjectClass: person\n";
  entry += "objectClass: organizationalPerson\nobjectClass: inetOrgPerson\n";
  entry += "uid: " + uid + "\n";
  entry += "cn: " + given + " " + surname + "\n";
  entry += "sn: " + surname + "\n";
  entry += "givenName: " + given + "\n";
  entry += "mail: " + uid + "@people.example.com\n";
  entry += "telephoneNumber: +44 20 7946 " + std::to_string(numbers.between(1000, 9999)) + "\n";
  entry += "mobile: +44 7700 900" + std::to_string(numbers.between(100, 999)) + "\n";
  entry += "employeeNumber: " + std::to_string(number) + "\n";
  entry += "departmentNumber: " + std::to_string(numbers.between(100, 999)) + "\n";
  entry += "title: " + word(numbers) + " senior officer\n";
  entry += "l: " + word(numbers) + "\n";
  entry += "postalCode: " + std::to_string(numbers.between(10000, 99999)) + "\n";
  entry += folded("description: keeps the timetable of the ferries to " + word(numbers) +
                  "; spare keys with " + word(numbers) + " in the office");
  entry += "userPassword:: " + base64("{SSHA}" + randomBytes(numbers, 24)) + "\n";
  entry += "entryUUID: 6f1d9a52-0c1e-4d7a-8b55-" + std::to_string(100000000000U + number) + "\n";
  return entry + "\n";
}

std::string smallPerson(Numbers& numbers, std::uint64_t number) {
  const std::string uid = "user" + std::to_string(number);
  const std::string surname = word(numbers);
  std::string entry = "dn: uid=" + uid + "," + people + "\n";
  entry += "objectClass: inetOrgPerson\n";
  entry += "uid: " + uid + "\n";
  entry += "cn: " + word(numbers) + " " + surname + "\n";
  entry += "sn: " + surname + "\n";
  entry += "mail: " + uid + "@example.com\n";
  entry += "telephoneNumber: +44 20 7946 " + std::to_string(numbers.between(1000, 9999)) + "\n";
  entry += "entryUUID: 6f1d9a52-0c1e-4d7a-8b55-" + std::to_string(100000000000U + number) + "\n";
  return entry + "\n";
}

std::string smallDevice(Numbers& numbers, std::uint64_t number) {
  const std::string name = "token" + std::to_string(number);
  const std::string owner = "uid=user" + std::to_string(number - 1) + "," + people;
  std::string entry = "dn: cn=" + name + "," + owner + "\n";
  entry += "objectClass: device\ncn: " + name + "\n";
  entry += "serialNumber: " + std::to_string(numbers.next()) + "\n";
  return entry + "\n";
}

std::string small(Numbers& numbers, std::uint64_t number) {
  return standsDeeper(number) ? smallDevice(numbers, number) : smallPerson(numbers, number);
}

/// One value of 4 to 60 kB in base64, as photographs are.
std::string large(Numbers& numbers, std::uint64_t number) {
  const std::string uid = "user" + std::to_string(number);
  std::string entry = "dn: uid=" + uid + "," + people + "\n";
  entry += "objectClass: inetOrgPerson\nuid: " + uid + "\ncn: " + word(numbers) + "\n";
  entry += "sn: " + word(numbers) + "\n";
  entry += folded("jpegPhoto:: " + base64(randomBytes(numbers, numbers.between(3000, 45000))));
  return entry + "\n";
}

/// As little as an entry can have.
std::string tiny(Numbers& /*numbers*/, std::uint64_t number) {
  // Eight digits up to 90 million entries.
  const std::string cn = std::to_string(10000000 - firstNumber + number);
  return "dn: cn=" + cn + "," + people + "\nobjectClass: device\ncn: " + cn + "\n\n";
}

// --- The same entry under different names --------------------------------------------------------

/// What the kinds below differ in; the entry has 480 bytes under any of these names.
struct Name {
  std::string cn;
  std::string rdn;
  std::string above;
  bool inBase64 = false;
};

std::string line(const char* type, const std::string& value, bool inBase64) {
  return inBase64 ? std::string(type) + ":: " + base64(value) + "\n"
                  : std::string(type) + ": " + value + "\n";
}

std::string namedEntry(Numbers& numbers, std::uint64_t number, const Name& name) {
  constexpr std::size_t size = 480;
  const std::string uid = "user" + std::to_string(number);
  std::string entry = line("dn", name.rdn + "," + name.above, name.inBase64);
  entry += "objectClass: inetOrgPerson\n";
  entry += line("cn", name.cn, name.inBase64);
  entry += "uid: " + uid + "\n";
  entry += "sn: " + word(numbers) + "\n";
  entry += "mail: " + uid + "@example.com\n";
  entry += "telephoneNumber: +44 20 7946 " + std::to_string(numbers.between(1000, 9999)) + "\n";
  entry += "employeeNumber: " + std::to_string(number) + "\n";
  entry += "entryUUID: 6f1d9a52-0c1e-4d7a-8b55-" + std::to_string(100000000000U + number) + "\n";
  // What is left to the whole size goes into three lines.
  static const std::string remark = "description: ";
  const std::size_t fixed = entry.size() + 3 * (remark.size() + 1) + 1;
  const std::size_t rest = fixed < size ? size - fixed : 0;
  for (const std::size_t length : {rest / 3, rest / 3, rest - rest / 3 * 2}) {
    entry += remark + std::string(length, 'x') + "\n";
  }
  return entry + "\n";
}

std::string commonName(Numbers& numbers, std::uint64_t number, const Syllables& syllables = ascii) {
  const std::string given = word(numbers, syllables);
  return given + " " + word(numbers, syllables) + " " + std::to_string(number);
}

std::string plain(Numbers& numbers, std::uint64_t number) {
  const std::string cn = commonName(numbers, number);
  return namedEntry(numbers, number, {cn, "cn=" + cn, people});
}

/// Every second entry is Latin.
const Syllables& alphabetOf(std::uint64_t number) {
  static constexpr const Syllables* others[] = {&greek, &cyrillic, &cjk};
  return number % 2 == 0 ? latin : *others[number / 2 % 3];
}

std::string unicode(Numbers& numbers, std::uint64_t number) {
  const std::string cn = commonName(numbers, number, alphabetOf(number));
  return namedEntry(numbers, number, {cn, "cn=" + cn, people});
}

std::string unicodeInBase64(Numbers& numbers, std::uint64_t number) {
  const std::string cn = commonName(numbers, number, alphabetOf(number));
  return namedEntry(numbers, number, {cn, "cn=" + cn, people, true});
}

std::string multivalued(Numbers& numbers, std::uint64_t number) {
  const std::string cn = commonName(numbers, number);
  const std::string rdn = "cn=" + cn + "+uid=user" + std::to_string(number);
  return namedEntry(numbers, number, {cn, rdn, people});
}

/// Eight RDNs below ou=people. The entries between are left out.
std::string deep(Numbers& numbers, std::uint64_t number) {
  const std::string cn = commonName(numbers, number);
  std::string above = people;
  for (int level = 1; level < 8; ++level) {
    above = "ou=u" + std::to_string(numbers.between(10, 99)) + "," + above;
  }
  return namedEntry(numbers, number, {cn, "cn=" + cn, above});
}

constexpr int unitCount = 500;

std::string unit(std::uint64_t number) {
  return "unit" + std::to_string(100 + number);
}

std::string manyBases(Numbers& numbers, std::uint64_t number) {
  const std::string cn = commonName(numbers, number);
  const std::string above = "ou=" + unit(numbers.between(0, unitCount - 1)) + "," + top;
  return namedEntry(numbers, number, {cn, "cn=" + cn, above});
}

// --- What the entries are below ------------------------------------------------------------------

std::string organizationalUnit(const std::string& name) {
  return "dn: ou=" + name + "," + top + "\nobjectClass: organizationalUnit\nou: " + name + "\n\n";
}

std::string onePeople() {
  return organizationalUnit("people");
}

std::string allUnits() {
  std::string entries;
  for (std::uint64_t number = 0; number < unitCount; ++number) {
    entries += organizationalUnit(unit(number));
  }
  return entries;
}

struct Kind {
  std::string_view name;
  const char* what;
  std::string (*above)();
  std::string (*entry)(Numbers& numbers, std::uint64_t number);
};

constexpr Kind kinds[] = {
    {"ordinary", "620 bytes, 21 short lines, one base64 value, one fold; one in ten a level deeper",
     onePeople, ordinaryPerson},
    {"small", "225 bytes; one in ten a level deeper", onePeople, small},
    {"large", "a base64 value of 4 to 60 kB, folded at 76", onePeople, large},
    {"tiny", "75 bytes", onePeople, tiny},
    {"plain", "480 bytes, an RDN of ASCII letters", onePeople, plain},
    {"unicode", "as plain; an RDN half of them Latin, the rest Greek, Cyrillic, CJK", onePeople,
     unicode},
    {"unicode-base64", "as unicode; names in base64", onePeople, unicodeInBase64},
    {"multivalued", "as plain; an RDN of two assertions", onePeople, multivalued},
    {"deep", "as plain; eight RDNs below the base DN", onePeople, deep},
    {"manybases", "as plain; over the 500 base DNs ou=unit100 to ou=unit599", allUnits, manyBases},
};

const Kind* findKind(std::string_view name) {
  for (const Kind& kind : kinds) {
    if (kind.name == name) {
      return &kind;
    }
  }
  return nullptr;
}

int usage() {
  std::fputs("usage: generate_ldif KIND ENTRIES\n", stderr);
  for (const Kind& kind : kinds) {
    std::fprintf(stderr, "  %-15s %s\n", kind.name.data(), kind.what);
  }
  return 2;
}

bool write(const std::string& text) {
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
}

}  // namespace

int main(int argc, char** argv) {
  const Kind* const kind = argc == 3 ? findKind(argv[1]) : nullptr;
  const long entries = argc == 3 ? std::strtol(argv[2], nullptr, 10) : 0;
  if (kind == nullptr || entries <= 0) {
    return usage();
  }
  Numbers numbers;
  bool good =
      write("version: 1\n\ndn: " + top + "\nobjectClass: domain\ndc: example\n\n" + kind->above());
  const std::uint64_t behind = firstNumber + static_cast<std::uint64_t>(entries);
  for (std::uint64_t number = firstNumber; good && number < behind; ++number) {
    good = write(kind->entry(numbers, number));
  }
  if (!good || std::fflush(stdout) != 0) {
    std::perror("generate_ldif");
    return 1;
  }
  return 0;
}
