// A running server that is asked for entries.
#ifndef ADMIN_PROBEDSERVER_H
#define ADMIN_PROBEDSERVER_H

#include <ldap.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "admin/ProbeLogin.h"

/// Asks one server over LDAP whether it has entries, many questions at a time. A server that cannot
/// be reached, does not answer in time or breaks off is given up: no question that is open then or
/// comes later has an answer.
class ProbedServer {
 public:
  enum class Answer { here, notHere, none };
  /// Takes the answer to the question of that number.
  using Receiver = std::function<void(std::uint64_t question, Answer answer)>;

  /// What ask() and pump() have been told.
  struct Counts {
    std::uint64_t asked = 0;
    std::uint64_t here = 0;
    std::uint64_t notHere = 0;
    std::uint64_t none = 0;
  };

  /// `url`: an LDAP URL, of which the scheme, the host and the port count. `login` has to outlive
  /// this.
  ProbedServer(const std::string& url, const ProbeLogin& login, Receiver receiver);

  /// The server in one spelling: scheme, host and port. A URL that the library cannot read stays as
  /// it is.
  static std::string addressOf(const std::string& url);

  const std::string& address() const { return address_; }
  const Counts& counts() const { return counts_; }

  /// Why it was given up, or what it said last when it refused an answer; empty: neither happened.
  const std::string& failure() const { return failure_.empty() ? refusal_ : failure_; }

  /// Connects and binds; to be called once, before all that follows. Servers may do this at a time.
  void connect();

  /// Queues a question. The answer comes out of a later pump().
  void ask(std::uint64_t question, const std::string& dn);

  /// Sends and receives what goes without waiting; whether anything did.
  bool pump();

  /// The descriptor to wait at; -1 where there is nothing to wait for.
  int descriptor() const;

 private:
  using Clock = std::chrono::steady_clock;

  struct Unbinder {
    void operator()(LDAP* session) const { ldap_unbind_ext_s(session, nullptr, nullptr); }
  };

  struct Question {
    std::uint64_t number;
    std::string dn;
  };

  struct Sent {
    std::uint64_t number;
    Clock::time_point due;
  };

  int bind();
  bool send();
  bool receive();
  void take(LDAPMessage* result);
  void giveUp(const std::string& why);
  void answer(std::uint64_t question, Answer answer);

  const std::string address_;
  const ProbeLogin& login_;
  const Receiver receiver_;
  std::unique_ptr<LDAP, Unbinder> session_;
  std::string failure_;
  std::string refusal_;
  std::deque<Question> queue_;
  std::map<int, Sent> sent_;  // by the number of the message
  Counts counts_;
};

#endif
