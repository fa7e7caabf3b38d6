// Writes the LDIF export of an invented directory to standard output: generate_ldif MEGABYTES.
//
// The same size gives the same bytes. Entries are small, as in a directory of people; nine in ten
// stand directly below ou=people,dc=example,dc=com, the others below those.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

const char* const base = "ou=people,dc=example,dc=com";

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

 private:
  std::uint64_t state_ = 1;
};

std::string word(Numbers& numbers) {
  static const char* const syllables[] = {"ka", "lo", "mi", "ra",  "ten", "bor", "su",  "vel",
                                          "na", "di", "or", "fen", "li",  "gu",  "san", "tor"};
  std::uint64_t bits = numbers.next();
  std::string result;
  for (int i = 0; i < 3; ++i, bits >>= 4U) {
    result += syllables[bits & 15U];
  }
  return result;
}

std::string person(Numbers& numbers, std::uint64_t number) {
  const std::string uid = "user" + std::to_string(number);
  const std::string surname = word(numbers);
  std::string entry = "dn: uid=" + uid + "," + base + "\n";
  entry += "objectClass: inetOrgPerson\n";
  entry += "uid: " + uid + "\n";
  entry += "cn: " + word(numbers) + " " + surname + "\n";
  entry += "sn: " + surname + "\n";
  entry += "mail: " + uid + "@example.com\n";
  entry += "telephoneNumber: +44 20 7946 " + std::to_string(1000 + numbers.next() % 9000) + "\n";
  entry += "entryUUID: 6f1d9a52-0c1e-4d7a-8b55-" + std::to_string(100000000000U + number) + "\n";
  return entry + "\n";
}

std::string deviceOf(Numbers& numbers, std::uint64_t number) {
  const std::string name = "token" + std::to_string(number);
  std::string entry = "dn: cn=" + name + ",uid=user" + std::to_string(number) + "," + base + "\n";
  entry += "objectClass: device\ncn: " + name + "\n";
  entry += "serialNumber: " + std::to_string(numbers.next()) + "\n";
  return entry + "\n";
}

bool write(const std::string& text, std::size_t& written) {
  written += text.size();
  return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
}

}  // namespace

int main(int argc, char** argv) {
  const long megabytes = argc == 2 ? std::strtol(argv[1], nullptr, 10) : 0;
  if (megabytes <= 0) {
    std::fputs("usage: generate_ldif MEGABYTES\n", stderr);
    return 2;
  }
  const std::size_t wanted = static_cast<std::size_t>(megabytes) * 1000 * 1000;
  Numbers numbers;
  std::size_t written = 0;
  bool good = write(
      "version: 1\n\ndn: dc=example,dc=com\nobjectClass: domain\ndc: example\n\n"
      "dn: ou=people,dc=example,dc=com\nobjectClass: organizationalUnit\nou: people\n\n",
      written);
  for (std::uint64_t number = 1; good && written < wanted; ++number) {
    good = write(person(numbers, number), written);
    if (good && number % 10 == 0) {
      good = write(deviceOf(numbers, number), written);
    }
  }
  if (!good || std::fflush(stdout) != 0) {
    std::perror("generate_ldif");
    return 1;
  }
  return 0;
}
