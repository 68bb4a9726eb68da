// Parts of a test that run in a process of their own.
#pragma once

#include <sys/types.h>

#include <array>
#include <functional>

namespace larder {

// Runs the body in a child and gives what it returned; -1 if the child ended in another way. The
// body returns 0 to 255 and makes no test assertions.
int RunInChild(const std::function<int()>& body);

// The same as an ordinary user: one that owns nothing and that permissions hold for.
int RunAsNobody(const std::function<int()>& body);

pid_t StartChild(const std::function<int()>& body);
pid_t StartAsNobody(const std::function<int()>& body);
int WaitForChild(pid_t child);

// A pipe by which one process lets others go on.
class Gate {
 public:
  Gate();
  ~Gate();
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  // Each process that has the gate opens its side of it; whoever passes waits for all the others.
  void Open();
  void Pass();

 private:
  std::array<int, 2> ends{-1, -1};
};

}  // namespace larder
