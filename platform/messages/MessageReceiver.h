// Messages for a program that does not print them as they come.
#ifndef PLATFORM_MESSAGES_MESSAGERECEIVER_H
#define PLATFORM_MESSAGES_MESSAGERECEIVER_H

#include <functional>
#include <string>
#include <vector>

/// A message that was given to PrintMessage.
struct Message {
  int set;
  int number;
  char severity;  ///< I, W or E
  std::vector<std::string> arguments;
  std::string text;  ///< with the arguments in their places, on one line, without the identifier
};

using MessageReceiver = std::function<void(const Message&)>;

/// From here on each message goes to `receiver`, and none to the standard streams; an empty one
/// gives them back their messages. For a process of one thread.
void receiveMessages(MessageReceiver receiver);

#endif
