// The examples of docs/client-guide.md, with the functions of a program that they call.
#include <larder/feed-stats.h>
#include <larder/client.hpp>

#include <atomic>
#include <iostream>

FileDataRecord ComputeFacts(const std::filesystem::path& file);
void Work(const larder::Session& session);

#include "client-guide/examples.cpp"
