#ifndef TESTSUPPORT_TRACESON_H
#define TESTSUPPORT_TRACESON_H

/// Turns the tool's traces on for a scope.
class TracesOn {
 public:
  TracesOn();
  ~TracesOn();
  TracesOn(const TracesOn&) = delete;
  TracesOn& operator=(const TracesOn&) = delete;

 private:
  unsigned int before_;
};

#endif
