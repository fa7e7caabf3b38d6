#ifndef CONFIG_WHITESPACEPREDICATE_H
#define CONFIG_WHITESPACEPREDICATE_H

/// Whether isspace() classifies a character as white space.
struct WhitespacePredicate {
  bool operator()(char c) const;
};

#endif
