#ifndef ACTORS_LDIFACTORFACTORY_H
#define ACTORS_LDIFACTORFACTORY_H

#include <map>
#include <string>

#include "actors/LdifActor.h"
#include "config/VarnelConfig.h"

/// The actors of a validated configuration by normalised base DN: one HashActor for each, and the
/// CryptoActor under "CN=LOCALHOST", in place of a configured actor of that name. Nobody deletes
/// the actors: they live until the process ends. Exceptions of an input pass go through.
std::map<std::string, LdifActor*> ldifActorFactory(const VarnelConfig& config);

#endif
