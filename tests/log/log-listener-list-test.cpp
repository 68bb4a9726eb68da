#include "log/log-listener-list.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace larder {
namespace {

std::vector<std::string> Heard;

class Named : public LRLogListener {
 public:
  explicit Named(std::string itsName) : name(std::move(itsName)) {}
  void Log(const char* line) override { Heard.push_back(name + line); }

 private:
  std::string name;
};

TEST(LRLogListenerList, CallsEachListenerOnceInTheOrderOfAddition) {
  static Named a("a");
  static Named b("b");
  static Named late("late");
  class Adder : public LRLogListener {
    void Log(const char*) override { LRLogListenerList::Instance().AddListener(&late); }
  } adder;
  LRLogListenerList& list = LRLogListenerList::Instance();
  EXPECT_FALSE(IsDiskLogEnabled());
  list.Log("0");
  for (Named* listener : {&a, &b, &a, &b}) list.AddListener(listener);
  EXPECT_TRUE(IsDiskLogEnabled());
  list.Log("1");
  list.RemoveListener(&a);
  list.RemoveListener(&a);
  list.Log("2");
  list.AddListener(&a);
  list.AddListener(&adder);
  list.Log("3");  // a listener that another one adds gets the same line
  for (LRLogListener* listener : {&a, &b, &late}) list.RemoveListener(listener);
  list.RemoveListener(&adder);
  list.Log("4");
  EXPECT_THAT(Heard, testing::ElementsAre("a1", "b1", "b2", "b3", "a3", "late3"));
  EXPECT_TRUE(IsDiskLogEnabled()) << "stays true until the process ends";
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
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int line = 0; line < kLines; ++line) list.Log("line");
      --running;
    });
  }
  do {
    auto first = std::make_unique<Counter>();
    auto second = std::make_unique<Counter>();
    list.AddListener(first.get());
    list.AddListener(second.get());
    list.RemoveListener(first.get());
    first.reset();
    list.RemoveListener(second.get());
  } while (running != 0);
  threads.clear();
  list.RemoveListener(&early);
  EXPECT_EQ(early.Count(), kThreads * kLines);
}

}  // namespace
}  // namespace larder
