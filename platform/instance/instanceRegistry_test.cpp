// The registry that the library is built with; the other tests are built with one of their own.
#include <gtest/gtest.h>

#include "platform/instance/readInstanceConfiguration.h"

namespace {

TEST(InstanceRegistry, IsBelowTheConfigurationDirectoryOfTheInstallation) {
  EXPECT_EQ(QuorInstanceUtils::instanceRegistry(), EXPECTED_SYSCONFDIR "/varnel/instances");
  EXPECT_EQ(QuorInstanceUtils::instanceDirectory("some"),
            EXPECTED_SYSCONFDIR "/varnel/instances/some");
  EXPECT_EQ(QuorInstanceUtils::instanceRegistry().front(), '/');
}

}  // namespace
