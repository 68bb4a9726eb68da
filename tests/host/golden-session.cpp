#include <gtest/gtest.h>

#include "host/host-machine.h"

namespace larder {

void LiveGoldenSession(HostMachine& host) {
  host.AddProvider("A", "type-3.dll");
  host.AddProvider("B", "type-1.dll");
  const TestDescriptor descriptor(LARDER_WIDE("C:\\file"));
  LarderHandle handle = nullptr;
  DataBlockHeader* data = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  ASSERT_EQ(LarderQuery(handle, &descriptor, 3, 0, &data, LARDER_QUERY_VERSION), LARDER_OK);
  ASSERT_EQ(LarderWrite(handle, &descriptor, 1, data), LARDER_OK);
  ASSERT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
  ASSERT_EQ(LarderRelease(), LARDER_OK);
}

}  // namespace larder
