// "Did you mean": what a mistyped key of the configuration file probably stands for.
#ifndef CONFIG_NEARESTLEGALKEY_H
#define CONFIG_NEARESTLEGALKEY_H

#include <string>

/// The key nearest to `key` of those that may stand before the first "basedn" or, with `inSection`,
/// behind it. Near is a key that begins or ends with `key`, or else one that few mistakes of typing
/// lead to: a letter too many, too few or wrong, two neighbours exchanged. Empty where none is
/// near, and where `key` is a key, here or in the other place. `key` is in lower case and without
/// white space.
std::string nearestLegalKey(const std::string& key, bool inSection);

#endif
