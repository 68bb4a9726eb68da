// Parts of a test that run in a process of their own.
#pragma once

#include <sys/types.h>

#include <functional>

namespace larder {

// Runs the body in a child and returns its result; -1 if the child ended in another way. The body
// returns 0 to 255 and makes no test assertions.
int RunInChild(const std::function<int()>& body);

// The same as an ordinary user: one that owns nothing and that permissions apply to.
int RunAsNobody(const std::function<int()>& body);

// Runs the body in several children at once; 0 if it returned 0 in all of them.
int RunInChildren(int count, const std::function<int()>& body);

pid_t StartChild(const std::function<int()>& body);
int WaitForChild(pid_t child);

}  // namespace larder
