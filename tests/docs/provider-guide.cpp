// The code of docs/provider-guide.md that isn't the complete provider.
#include <larder/provider.h>

void CallAsAHost(IDataProvider* provider, const void* descriptor);

void CallAsAHost(IDataProvider* provider, const void* descriptor) {
#include "provider-guide/testing-it.cpp"
}
