// The base of the tool's exceptions.
#ifndef COMMON_INPUTFILEEXCEPTION_H
#define COMMON_INPUTFILEEXCEPTION_H

#include <string>
#include <utility>

/// A failure that belongs to a line of an input file. Thrown by value, caught by reference. It does
/// not derive from std::exception, so a handler for std::exception never catches it.
class InputFileException {
 public:
  /// `line` is 0 where no particular line is meant.
  InputFileException(int line, std::string message) : line_(line), message_(std::move(message)) {}
  InputFileException(const InputFileException&) = default;
  InputFileException& operator=(const InputFileException&) = default;
  virtual ~InputFileException() = default;

  int line() const { return line_; }
  const std::string& message() const { return message_; }

 private:
  int line_;
  std::string message_;
};

#endif
