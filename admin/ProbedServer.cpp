#include "admin/ProbedServer.h"

#include <sys/time.h>

#include <utility>
#include <vector>

#include "platform/text/onOneLine.h"

namespace {

/// How many questions are under way at a time.
constexpr std::size_t window = 64;

struct UrlDeleter {
  void operator()(LDAPURLDesc* url) const { ldap_free_urldesc(url); }
};

struct LdapTextDeleter {
  void operator()(char* text) const { ldap_memfree(text); }
};

struct MessageDeleter {
  void operator()(LDAPMessage* message) const { ldap_msgfree(message); }
};

/// With it an entry that refers elsewhere is an entry like others (RFC 3296).
LDAPControl manageDsaIt() {
  static char type[] = LDAP_CONTROL_MANAGEDSAIT;
  LDAPControl control{};
  control.ldctl_oid = type;
  return control;
}

}  // namespace

std::string ProbedServer::addressOf(const std::string& url) {
  LDAPURLDesc* parsed = nullptr;
  if (ldap_url_parse(url.c_str(), &parsed) != LDAP_URL_SUCCESS) {
    return url;
  }
  const std::unique_ptr<LDAPURLDesc, UrlDeleter> owner(parsed);
  LDAPURLDesc server{};
  server.lud_scheme = parsed->lud_scheme;
  server.lud_host = parsed->lud_host;
  server.lud_port = parsed->lud_port;
  server.lud_scope = LDAP_SCOPE_DEFAULT;
  const std::unique_ptr<char, LdapTextDeleter> text(ldap_url_desc2str(&server));
  return text != nullptr ? text.get() : url;
}

ProbedServer::ProbedServer(const std::string& url, const ProbeLogin& login, Receiver receiver)
    : address_(addressOf(url)), login_(login), receiver_(std::move(receiver)) {}

void ProbedServer::connect() {
  LDAP* session = nullptr;
  int result = ldap_initialize(&session, address_.c_str());
  session_.reset(session);
  if (result == LDAP_SUCCESS) {
    result = bind();
  }
  if (result != LDAP_SUCCESS) {
    std::string why = ldap_err2string(result);
    char* detail = nullptr;
    if (session_ != nullptr &&
        ldap_get_option(session_.get(), LDAP_OPT_DIAGNOSTIC_MESSAGE, &detail) == LDAP_OPT_SUCCESS &&
        detail != nullptr) {
      const std::unique_ptr<char, LdapTextDeleter> owner(detail);
      why += *detail != '\0' ? " (" + text::onOneLine(detail) + ")" : "";
    }
    giveUp(why);
  }
}

int ProbedServer::bind() {
  const int version = LDAP_VERSION3;
  struct timeval limit {};
  limit.tv_sec = login_.timeout;
  LDAP* const session = session_.get();
  ldap_set_option(session, LDAP_OPT_PROTOCOL_VERSION, &version);
  ldap_set_option(session, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  ldap_set_option(session, LDAP_OPT_RESTART, LDAP_OPT_ON);
  ldap_set_option(session, LDAP_OPT_NETWORK_TIMEOUT, &limit);
  ldap_set_option(session, LDAP_OPT_TIMEOUT, &limit);
  if (!login_.caFile.empty()) {
    const int demand = LDAP_OPT_X_TLS_DEMAND;
    const int client = 0;
    if (ldap_set_option(session, LDAP_OPT_X_TLS_CACERTFILE, login_.caFile.c_str()) != 0 ||
        ldap_set_option(session, LDAP_OPT_X_TLS_REQUIRE_CERT, &demand) != 0 ||
        ldap_set_option(session, LDAP_OPT_X_TLS_NEWCTX, &client) != 0) {
      return LDAP_LOCAL_ERROR;
    }
  }
  if (login_.startTls && address_.compare(0, 6, "ldaps:") != 0) {
    const int result = ldap_start_tls_s(session, nullptr, nullptr);
    if (result != LDAP_SUCCESS) {
      return result;
    }
  }
  std::vector<char> password(login_.password.begin(), login_.password.end());
  struct berval credentials {};
  credentials.bv_len = password.size();
  password.push_back('\0');
  credentials.bv_val = password.data();
  return ldap_sasl_bind_s(session, login_.bindDn.c_str(), LDAP_SASL_SIMPLE, &credentials, nullptr,
                          nullptr, nullptr);
}

void ProbedServer::answer(std::uint64_t question, Answer given) {
  ++(given == Answer::here      ? counts_.here
     : given == Answer::notHere ? counts_.notHere
                                : counts_.none);
  receiver_(question, given);
}

/// Answers what is open, and lets go of the connection.
void ProbedServer::giveUp(const std::string& why) {
  failure_ = why;
  session_.reset();
  std::map<int, Sent> sent;
  sent.swap(sent_);
  std::deque<Question> queue;
  queue.swap(queue_);
  for (const auto& each : sent) {
    answer(each.second.number, Answer::none);
  }
  for (const Question& each : queue) {
    answer(each.number, Answer::none);
  }
}

void ProbedServer::ask(std::uint64_t question, const std::string& dn) {
  ++counts_.asked;
  queue_.push_back({question, dn});
}

bool ProbedServer::send() {
  bool moved = false;
  while (session_ != nullptr && !queue_.empty() && sent_.size() < window) {
    static char noAttribute[] = LDAP_NO_ATTRS;
    char* attributes[] = {noAttribute, nullptr};
    LDAPControl control = manageDsaIt();
    LDAPControl* controls[] = {&control, nullptr};
    int number = 0;
    const int result =
        ldap_search_ext(session_.get(), queue_.front().dn.c_str(), LDAP_SCOPE_BASE,
                        "(objectClass=*)", attributes, 0, controls, nullptr, nullptr, 0, &number);
    if (result != LDAP_SUCCESS) {
      giveUp(ldap_err2string(result));
      return true;
    }
    sent_[number] = {queue_.front().number, Clock::now() + std::chrono::seconds(login_.timeout)};
    queue_.pop_front();
    moved = true;
  }
  return moved;
}

bool ProbedServer::receive() {
  bool moved = false;
  while (session_ != nullptr && !sent_.empty()) {
    struct timeval noWait {};
    LDAPMessage* message = nullptr;
    const int kind = ldap_result(session_.get(), LDAP_RES_ANY, LDAP_MSG_ALL, &noWait, &message);
    const std::unique_ptr<LDAPMessage, MessageDeleter> owner(message);
    if (kind < 0) {
      giveUp("the connection broke off");
      return true;
    }
    if (kind == 0) {
      break;
    }
    take(message);
    moved = true;
  }
  return moved;
}

void ProbedServer::take(LDAPMessage* result) {
  const auto sent = sent_.find(ldap_msgid(result));
  if (sent == sent_.end()) {
    return;
  }
  const std::uint64_t question = sent->second.number;
  sent_.erase(sent);
  int code = LDAP_OTHER;
  if (ldap_parse_result(session_.get(), result, &code, nullptr, nullptr, nullptr, nullptr, 0) !=
      LDAP_SUCCESS) {
    code = LDAP_OTHER;
  }
  if (code == LDAP_SUCCESS) {
    answer(question,
           ldap_count_entries(session_.get(), result) > 0 ? Answer::here : Answer::notHere);
  } else if (code == LDAP_NO_SUCH_OBJECT || code == LDAP_REFERRAL ||
             code == LDAP_INVALID_DN_SYNTAX) {
    answer(question, Answer::notHere);
  } else {
    refusal_ = ldap_err2string(code);
    answer(question, Answer::none);
  }
}

bool ProbedServer::pump() {
  if (queue_.empty() && sent_.empty()) {
    return false;
  }
  if (session_ == nullptr) {
    giveUp(failure_);
    return true;
  }
  bool moved = send();
  moved = receive() || moved;
  if (!moved && !sent_.empty() && sent_.begin()->second.due < Clock::now()) {
    giveUp("no answer in " + std::to_string(login_.timeout) + " seconds");
    return true;
  }
  return moved;
}

int ProbedServer::descriptor() const {
  int file = -1;
  if (session_ != nullptr && !sent_.empty()) {
    ldap_get_option(session_.get(), LDAP_OPT_DESC, &file);
  }
  return file;
}
