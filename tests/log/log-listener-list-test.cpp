#include "log/log-listener-list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace larder {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Heard;

class Named : public LRLogListener {
 public:
  explicit Named(std::string itsName) : name(std::move(itsName)) {}
  void Log(const char* line) override { Heard.push_back(name + line); }

 private:
  std::string name;
};

TEST(LRLogListenerList, CallsEachListenerOnceInTheOrderOfAddition) {
  LRLogListenerList& list = LRLogListenerList::Instance();
  Named a("a");
  Named b("b");
  Named c("c");
  const auto heard = [&](const char* line) {
    Heard.clear();
    list.Log(line);
    return Heard;
  };
  EXPECT_FALSE(IsDiskLogEnabled());
  EXPECT_THAT(heard("0"), IsEmpty());
  for (Named* listener : {&a, &b, &a, &c, &b}) list.AddListener(listener);
  EXPECT_TRUE(IsDiskLogEnabled());
  EXPECT_THAT(heard("1"), ElementsAre("a1", "b1", "c1"));
  list.RemoveListener(&b);
  list.RemoveListener(&b);
  EXPECT_THAT(heard("2"), ElementsAre("a2", "c2"));
  list.AddListener(&b);
  EXPECT_THAT(heard("3"), ElementsAre("a3", "c3", "b3"));
  for (Named* listener : {&a, &b, &c}) list.RemoveListener(listener);
  EXPECT_THAT(heard("4"), IsEmpty());
  EXPECT_TRUE(IsDiskLogEnabled()) << "stays true until the process ends";
}

TEST(LRLogListenerList, AListenerAddedByAnotherGetsTheSameLine) {
  static Named late("late");
  class Adder : public LRLogListener {
    void Log(const char*) override { LRLogListenerList::Instance().AddListener(&late); }
  } adder;
  Heard.clear();
  LRLogListenerList& list = LRLogListenerList::Instance();
  list.AddListener(&adder);
  list.Log("1");
  EXPECT_THAT(Heard, ElementsAre("late1"));
  list.RemoveListener(&adder);
  list.RemoveListener(&late);
}

// Owns memory: the sanitizers report a call after its deletion.
class Counter final : public LRLogListener {
 public:
  void Log(const char*) override { ++*count; }
  int Count() const { return *count; }

 private:
  std::unique_ptr<std::atomic<int>> count = std::make_unique<std::atomic<int>>(0);
};

TEST(LRLogListenerList, AListenerMayBeDeletedAfterItsRemovalWhileOthersGetEveryLine) {
  LRLogListenerList& list = LRLogListenerList::Instance();
  constexpr int kThreads = 4;
  constexpr int kLines = 3000;
  Counter early;
  list.AddListener(&early);
  std::atomic<int> running{kThreads};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int line = 0; line < kLines; ++line) list.Log("line");
      --running;
    });
  }
  int rounds = 0;
  while (running != 0 || rounds == 0) {
    auto first = std::make_unique<Counter>();
    auto second = std::make_unique<Counter>();
    list.AddListener(first.get());
    list.AddListener(second.get());
    list.RemoveListener(first.get());
    first.reset();
    list.RemoveListener(second.get());
    ++rounds;
  }
  for (std::thread& thread : threads) thread.join();
  list.RemoveListener(&early);
  EXPECT_EQ(early.Count(), kThreads * kLines);
}

}  // namespace
}  // namespace larder
