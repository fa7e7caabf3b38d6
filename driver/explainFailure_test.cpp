#include "driver/explainFailure.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "common/SystemFailure.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/messageLine.h"

namespace {

TEST(ExplainSystemFailure, TellsWhatWasNoted) {
  errno = ENOSPC;
  noteSystemFailure("out.ldif");
  const CapturedOutput output = captured([] { explainSystemFailure(); });
  EXPECT_EQ(output.err, messageLine(73, {"out.ldif", "No space left on device"}));
  EXPECT_EQ(output.out, "");
}

TEST(ExplainSystemFailure, IsSilentWithoutAReason) {
  errno = 0;
  noteSystemFailure("out.ldif");
  EXPECT_EQ(captured([] { explainSystemFailure(); }).err, "");
}

TEST(ExplainFormat, TellsWhatIsNotRead) {
  const TemporaryDirectory directory;
  const std::string marked = directory.write("marked", "\xEF\xBB\xBF#\n");
  const std::string plain = directory.write("plain", "#\n");
  const CapturedOutput output = captured([&] {
    explainFormat(plain);
    explainFormat(marked);
  });
  EXPECT_EQ(output.err, messageLine(74, {marked, "text behind a UTF-8 byte order mark"}));
}

class ExplainConfigFailure : public ::testing::Test {
 protected:
  ExplainConfigFailure() : config_(directory_.write("conf", "plain\n"), false) {
    errno = 0;
    noteSystemFailure("");
    config_.lastLine_ = 7;
    config_.lastLineText_ = "Input Fil:\tin.ldif\r";
  }

  std::string explained(int line) const {
    return captured([&] { explainConfigFailure(config_, VarnelConfigException(line, "")); }).err;
  }

  TemporaryDirectory directory_;
  VarnelConfig config_;
};

TEST_F(ExplainConfigFailure, ShowsTheLineAndTheNearestKeyOfItsPlace) {
  EXPECT_EQ(explained(7),
            messageLine(62, {config_.configFile_, "7", "Input Fil:\\09in.ldif\\0D", "inputfile"}));
  config_.baseDNSections_["O=X"];
  EXPECT_EQ(explained(7),
            messageLine(62, {config_.configFile_, "7", "Input Fil:\\09in.ldif\\0D", ""}));
}

TEST_F(ExplainConfigFailure, ShowsANulAsAnyControlByte) {
  config_.lastLineText_ = std::string("x\0y: z", 6);
  EXPECT_EQ(explained(7), messageLine(62, {config_.configFile_, "7", "x\\00y: z", ""}));
}

TEST_F(ExplainConfigFailure, ShowsNoLineWhereNoneIsAtFault) {
  EXPECT_EQ(explained(0), "");
  EXPECT_EQ(explained(8), "");
}

TEST_F(ExplainConfigFailure, TellsReasonAndFormatFirst) {
  directory_.write("conf", "\x1F\x8B");
  errno = EACCES;
  noteSystemFailure("f");
  EXPECT_EQ(explained(7), messageLine(73, {"f", "Permission denied"}) +
                              messageLine(74, {config_.configFile_, "compressed data (gzip)"}) +
                              messageLine(62, {config_.configFile_, "7",
                                               "Input Fil:\\09in.ldif\\0D", "inputfile"}));
}

}  // namespace
