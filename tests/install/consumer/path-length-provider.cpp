// A provider of type 5: tells the number of units in a file's path plus the query option.
// Option 99 asks for a failure with a code of its own, option 0 for no data.
#include <larder/provider.h>

#include <stdexcept>
#include <string>
#include <system_error>

namespace {

constexpr std::int32_t kType = 5;

struct PathLength {
  DataBlockHeader header;
  std::uint32_t length;
};

class PathLengthProvider : public IDataProvider {
 public:
  std::int32_t GetType() override { return kType; }

  void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t*,
             DbBuffer* result) override {
    if (queryOption == 0) return;
    if (queryOption == 99)
      throw std::system_error(1234, std::generic_category(), "option 99 was given");
    const auto* file = static_cast<const FileObjectDescriptor*>(objectDescriptor);
    const auto length = std::char_traits<LarderWideChar>::length(file->filePath);
    const PathLength block = {{sizeof block, kType},
                              static_cast<std::uint32_t>(length) + queryOption};
    result->Copy(reinterpret_cast<const unsigned char*>(&block), sizeof block);
  }

  void GetKey(const void*, std::uint64_t* key) override { *key = 1; }

  void FreeQuery(DbBuffer* data) override { data->Reset(); }

  void Write(const void*, std::uint64_t*, DbBuffer*) override {
    throw std::runtime_error("nothing can be written here");
  }
};

}  // namespace

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) { *out = new PathLengthProvider; }
