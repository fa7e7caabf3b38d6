#include "testsupport/LoadedSchema.h"

#include <gtest/gtest.h>

#include "platform/schema/ldcf_api_schema.h"
#include "testsupport/TemporaryDirectory.h"

void loadSchema(const std::string& definitions) {
  const TemporaryDirectory directory;
  ldcf_api_schema_report_to([](const char* line, void*) { ADD_FAILURE() << line; }, nullptr);
  ldcf_api_schema_init();
  EXPECT_EQ(ldcf_api_schema_parse(directory.write("test.schema", definitions).c_str()), 0);
  EXPECT_EQ(ldcf_api_schema_complete(), 0);
  ldcf_api_schema_report_to(nullptr, nullptr);
}
