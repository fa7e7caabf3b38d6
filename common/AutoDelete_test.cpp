#include "common/AutoDelete.h"

#include <gtest/gtest.h>

namespace {

struct Counted {
  Counted() { ++alive; }
  ~Counted() { --alive; }
  static int alive;
};

int Counted::alive = 0;

TEST(AutoDelete, FreesItsArrayAtTheEnd) {
  {
    const AutoDelete<Counted> holder(new Counted[3]);
    EXPECT_EQ(Counted::alive, 3);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(AutoDelete, AssignmentFreesThePreviousArray) {
  AutoDelete<Counted> holder(new Counted[3]);
  auto* next = new Counted[2];
  holder = next;
  EXPECT_EQ(Counted::alive, 2);
  EXPECT_EQ(holder.get(), next);
}

TEST(AutoDelete, AssigningItsOwnArrayKeepsIt) {
  auto* array = new Counted[2];
  AutoDelete<Counted> holder(array);
  holder = array;
  EXPECT_EQ(Counted::alive, 2);
  EXPECT_EQ(holder.get(), array);
}

TEST(AutoDelete, StartsEmpty) {
  EXPECT_EQ(AutoDelete<char>().get(), nullptr);
}

TEST(AutoLock, HoldsTheMutexForItsScope) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  {
    const AutoLock lock(mutex);
    EXPECT_NE(pthread_mutex_trylock(&mutex), 0);
  }
  ASSERT_EQ(pthread_mutex_trylock(&mutex), 0);
  pthread_mutex_unlock(&mutex);
}

}  // namespace
