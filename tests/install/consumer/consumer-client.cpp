// Calls the provider of this project through the installed library, and prints what comes back.
#include <larder/larder.h>

#include <cstdio>

namespace {

constexpr int32_t kType = 5;

struct File {
  uint32_t lastModified[2] = {0, 0};
  LarderWideChar filePath[5] = {'f', 'i', 'l', 'e', 0};
};

struct PathLength {
  DataBlockHeader header;
  uint32_t length;
};

void PrintQuery(LarderHandle handle, uint32_t option) {
  const File file;
  DataBlockHeader* data = nullptr;
  const int32_t result = LarderQuery(handle, &file, kType, option, &data, LARDER_QUERY_VERSION);
  std::printf("query %u: %d", option, result);
  if (result == LARDER_OK) {
    std::printf(", length %u", reinterpret_cast<PathLength*>(data)->length);
    std::printf(", freed: %d", LarderFreeQuery(handle, data));
  }
  std::printf("\n");
}

}  // namespace

int main() {
  LarderHandle handle = nullptr;
  std::printf("init: %d\n", LarderInit([](int32_t) {}, &handle));
  PrintQuery(handle, 10);
  PrintQuery(handle, 0);
  PrintQuery(handle, 99);
  const File file;
  const PathLength block = {{sizeof block, kType}, 0};
  std::printf("write: %d\n", LarderWrite(handle, &file, kType, &block.header));
  std::printf("release: %d\n", LarderRelease());
}
