// Which server holds an entry.
#ifndef ADMIN_ROUTING_H
#define ADMIN_ROUTING_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "actors/LdifActor.h"
#include "config/VarnelConfig.h"
#include "ldifsplit/BaseDnIndex.h"
#include "platform/dirclient/NormalDn.h"

/// The base DNs of a configuration with their servers, and what a split does with an entry of a
/// name. The actors decide; this says what their answers mean.
class Routing {
 public:
  struct Server {
    std::string url;
    std::string file;
  };

  struct BaseDn {
    std::string name;            ///< in normal form
    dirclient::NormalDn normal;  ///< the same
    bool isCrypto;               ///< that of the crypto subtree, which no configuration has to name
    std::vector<Server> servers;  ///< in server order; of the crypto subtree: none
    LdifActor* actor;
  };

  /// A server by its place in the list of its base DN, or all of them.
  static constexpr std::size_t allServers = static_cast<std::size_t>(-1);
  /// No base DN: the entry goes to the default output file.
  static constexpr std::size_t noBaseDn = ldifsplit::BaseDnIndex::none;

  /// `config` has to be usable and to outlive this.
  explicit Routing(const VarnelConfig& config);
  Routing(const Routing&) = delete;
  Routing& operator=(const Routing&) = delete;

  /// In the order of the actors' keys, that of the crypto subtree among them.
  const std::vector<BaseDn>& baseDns() const { return baseDns_; }

  const std::map<std::string, LdifActor*>& actors() const { return actors_; }

  /// The index of the nearest base DN at or above the name, or noBaseDn.
  std::size_t baseDnOf(const dirclient::NormalDn& dn) const;

  /// The server of an entry at or below that base DN, whose actor says that it goes to `files`:
  /// allServers for the base DN itself and for all of the crypto subtree.
  std::size_t serverOf(const dirclient::NormalDn& dn, std::size_t baseDn,
                       const FileNames& files) const;

  /// The same where the actor has not been asked yet.
  std::size_t serverOf(const dirclient::NormalDn& dn, std::size_t baseDn) const;

  /// The files of an entry of that name, which may be in any spelling; none where it is no usable
  /// DN.
  std::vector<std::string> filesOf(const std::string& dn) const;

  /// Whether the file is among them.
  bool belongsIn(const std::string& dn, const std::string& file) const;

  const std::string& defaultOutputFile() const { return config_.defaultOutputFile_; }

 private:
  const VarnelConfig& config_;
  const std::map<std::string, LdifActor*> actors_;
  const std::vector<std::string> names_;
  const ldifsplit::BaseDnIndex index_;
  std::vector<BaseDn> baseDns_;
};

#endif
