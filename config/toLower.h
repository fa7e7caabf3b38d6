#ifndef CONFIG_TOLOWER_H
#define CONFIG_TOLOWER_H

/// Replaces an upper-case letter by its lower-case one, as tolower() does.
void toLower(char& c);

#endif
