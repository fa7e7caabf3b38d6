// Schema files: any bytes are read to the end, faults are reported, and the schema that results can
// be asked for an attribute.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/require.h"
#include "platform/schema/Builder.h"
#include "platform/schema/Schema.h"
#include "platform/schema/parseText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::size_t problems = 0;
  schema::Builder builder([&](const schema::Problem& problem) {
    require(!problem.reason.empty(), "a problem has a reason");
    ++problems;
  });
  schema::parseText(std::string_view(reinterpret_cast<const char*>(data), size), "input", builder);
  require(builder.problemCount() == problems, "every problem is reported");
  const schema::Schema schema(builder.complete());
  const schema::AttributeType* name = schema.findAttributeType("cn");
  require(name == nullptr || !name->canonicalType.empty(), "a type has a name or a number");
  return 0;
}
