// The text of the usage message, 5 of set 32.
#ifndef PLATFORM_MESSAGES_USAGETEXT_H
#define PLATFORM_MESSAGES_USAGETEXT_H

/// Every option with its default, and the version. %1$s is the place of the program's name. The
/// definition is printed from the table of options while the program is built.
extern const char usageText[];

#endif
