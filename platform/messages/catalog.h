// The table of all message texts.
#ifndef PLATFORM_MESSAGES_CATALOG_H
#define PLATFORM_MESSAGES_CATALOG_H

#include <span>

/// One message of the catalog. `text` holds places of the form %1$s to %9$s and no other percent
/// sign; it uses the places 1 to `argumentCount`.
struct CatalogMessage {
  int set;
  int number;
  char severity;  // I, W or E
  int argumentCount;
  const char* text;
};

/// All messages, ordered by set and number.
std::span<const CatalogMessage> messageCatalog();

/// The message, or a null pointer where the catalog has none of that set and number.
const CatalogMessage* findMessage(int set, int number);

#endif
