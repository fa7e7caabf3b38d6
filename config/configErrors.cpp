#include "config/configErrors.h"

#include "common/LineText.h"
#include "config/VarnelConfigException.h"
#include "platform/messages/PrintMessage.h"

namespace {

std::string quoted(const std::string& text) {
  return "\"" + text + "\"";
}

}  // namespace

void throwMultipleKeyError(const std::string& key, int line) {
  PrintMessage(32, 1, 48, key.c_str(), LineText(line).c_str());
  throw VarnelConfigException(line, "error: " + quoted(key) + " configured multiple times");
}

void throwMultipleValueError(const std::string& key, const std::string& value, int line) {
  PrintMessage(32, 1, 17, key.c_str(), value.c_str(), LineText(line).c_str());
  throw VarnelConfigException(
      line, "error: " + quoted(value) + " is a duplicate value for option " + quoted(key));
}

void throwIllegalKeyError(const std::string& key, int line, const std::string& splitBy) {
  std::string message = "error: " + quoted(key) + " not allowed";
  if (splitBy.empty()) {
    PrintMessage(32, 1, 4, LineText(line).c_str());
  } else {
    PrintMessage(32, 1, 19, key.c_str(), splitBy.c_str(), LineText(line).c_str());
    message += " for SplitBy " + splitBy;
  }
  throw VarnelConfigException(line, message);
}

void throwIllegalValueError(const std::string& key, const std::string& value, int line) {
  PrintMessage(32, 1, 6, value.c_str(), key.c_str());
  throw VarnelConfigException(line,
                              "error: " + quoted(value) + " not allowed for option " + quoted(key));
}

void throwMissingKeyError(const std::string& key, int line) {
  // The missing blanks behind the key, and behind the file names below, stay missing: scripts know
  // these texts as they are.
  std::string message = "error: " + key + "is missing in configuration file";
  if (line != 0) {
    const LineText lineText(line);
    PrintMessage(32, 1, 51, key.c_str(), lineText.c_str());
    message += std::string(" on line number ") + lineText.c_str();
  } else {
    PrintMessage(32, 1, 49, key.c_str());
  }
  throw VarnelConfigException(line, message);
}

void throwUnableToOpenFileError(const std::string& name, int line) {
  PrintMessage(32, 1, 7, name.c_str(), LineText(line).c_str());
  throw VarnelConfigException(line, "error: " + name + "does not exist or cannot be opened");
}

void throwFileExistsError(const std::string& name, int line) {
  PrintMessage(32, 1, 8, name.c_str());
  throw VarnelConfigException(line, "error: " + name + "file exists.  Cannot overwrite.");
}
