// Time and bytes a second of DN normalisation, without a schema and by the core schema, and of the
// DN hash.

#include <benchmark/benchmark.h>

#include <cstring>

#include "platform/dirclient/NormalDn.h"
#include "platform/dirclient/dirclient.h"
#include "platform/schema/ldcf_api_schema.h"

namespace {

// Of 60 characters each.
const char* const normalForm = "CN=AMINA DIALLO 0123456789 ABCDE,OU=PEOPLE,DC=EXAMPLE,DC=ORG";
const char* const lowerCase = "cn=amina diallo 0123456789 abcde,ou=people,dc=example,dc=org";
const char* const spread = "cn = amina  diallo 0123456789 ab , ou=people,dc=example,dc=org";
const char* const nonAscii = "cn=jörg åkesson 0123456789 abcde,ou=people,dc=example,dc=org";
const char* const base = "OU=PEOPLE,DC=EXAMPLE,DC=ORG";

void countBytes(benchmark::State& state, const char* dn) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::strlen(dn)));
}

void normalizeLight(benchmark::State& state, const char* dn) {
  for (auto _ : state) {
    ldap_escDN* parsed = dn_normalize_light_esc(dn);
    benchmark::DoNotOptimize(parsed);
    free_ldap_escDN(&parsed);
  }
  countBytes(state, dn);
}

/// As the split does it: into an object that stays from entry to entry.
void normalizeForSplit(benchmark::State& state, const char* dn) {
  dirclient::NormalDn normal;
  const std::size_t size = std::strlen(dn);
  for (auto _ : state) {
    normal.normalize(dn, size, false);
    benchmark::DoNotOptimize(normal.text().data());
    benchmark::ClobberMemory();
  }
  countBytes(state, dn);
}

void normalizeBySchema(benchmark::State& state, const char* dn) {
  static const bool loaded = [] {
    ldcf_api_schema_init();
    return ldcf_api_schema_parse(VARNEL_CORE_SCHEMA) == 0 && ldcf_api_schema_complete() == 0;
  }();
  if (!loaded) {
    state.SkipWithError("the core schema does not load");
    return;
  }
  for (auto _ : state) {
    ldap_escDN* parsed = dn_normalize_esc(dn);
    benchmark::DoNotOptimize(parsed);
    free_ldap_escDN(&parsed);
  }
  countBytes(state, dn);
}

void hash(benchmark::State& state, const char* dn) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(get_hash_value_from_dn(dn, base, 16));
  }
  countBytes(state, dn);
}

BENCHMARK_CAPTURE(normalizeLight, normalForm, normalForm);
BENCHMARK_CAPTURE(normalizeLight, lowerCase, lowerCase);
BENCHMARK_CAPTURE(normalizeLight, blanks, spread);
BENCHMARK_CAPTURE(normalizeLight, nonAscii, nonAscii);
BENCHMARK_CAPTURE(normalizeForSplit, normalForm, normalForm);
BENCHMARK_CAPTURE(normalizeForSplit, lowerCase, lowerCase);
BENCHMARK_CAPTURE(normalizeForSplit, blanks, spread);
BENCHMARK_CAPTURE(normalizeForSplit, nonAscii, nonAscii);
BENCHMARK_CAPTURE(normalizeBySchema, normalForm, normalForm);
BENCHMARK_CAPTURE(normalizeBySchema, lowerCase, lowerCase);
BENCHMARK_CAPTURE(normalizeBySchema, blanks, spread);
BENCHMARK_CAPTURE(normalizeBySchema, nonAscii, nonAscii);
BENCHMARK_CAPTURE(hash, normalForm, normalForm);
BENCHMARK_CAPTURE(hash, lowerCase, lowerCase);
BENCHMARK_CAPTURE(hash, nonAscii, nonAscii);

}  // namespace
