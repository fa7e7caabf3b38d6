// The input pass is declared to throw LdifIterateException alone. Any other exception ends the
// program: it reaches no handler, not even one for everything. This program's operator new fails
// when it is told to.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "actors/HashActor.h"
#include "testsupport/HeapAllocations.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

/// An actor that asks for the input pass.
class IteratingActor : public HashActor {
 public:
  IteratingActor() : HashActor("O=A", {{{"file", "a.ldif"}}}) { needsInputPass = true; }
};

/// Calls with no memory left, and ends the process in an orderly way where an exception arrives.
template <typename Call>
void expectTheCallersHandlerIsNotReached(Call call) {
  exhaustMemory(true);
  try {
    call();
  } catch (...) {
    exhaustMemory(false);
    std::fputs("the caller's handler was reached\n", stderr);
    std::_Exit(0);
  }
  exhaustMemory(false);
  std::_Exit(0);
}

class ExceptionListsDeathTest : public ::testing::Test {
 protected:
  TemporaryDirectory directory_;
  std::string input_ = directory_.write("in.ldif", "dn: o=a\n");
  IteratingActor actor_;
};

TEST_F(ExceptionListsDeathTest, HandlerWouldBeReachedWithoutAList) {
  const std::string dn = "O=A";
  EXPECT_EXIT(expectTheCallersHandlerIsNotReached([&] { delete actor_.getOutputFilename(dn); }),
              ::testing::ExitedWithCode(0), "the caller's handler was reached");
}

TEST_F(ExceptionListsDeathTest, MemoryExhaustionInTheInputPassEndsTheProgram) {
  EXPECT_EXIT(expectTheCallersHandlerIsNotReached([&] { actor_.doLdifIterate(input_); }),
              ::testing::KilledBySignal(SIGABRT), "bad_alloc");
}

TEST_F(ExceptionListsDeathTest, MemoryExhaustionInLdifIterateEndsTheProgram) {
  EXPECT_EXIT(expectTheCallersHandlerIsNotReached([&] { actor_.ldifIterate(input_); }),
              ::testing::KilledBySignal(SIGABRT), "bad_alloc");
}

TEST_F(ExceptionListsDeathTest, ListedExceptionReachesTheHandler) {
  EXPECT_THROW(actor_.doLdifIterate(directory_.path("missing")), LdifIterateException);
  EXPECT_THROW(actor_.ldifIterate(directory_.path("missing")), LdifIterateException);
}

}  // namespace
