/* Calls every function of the installed library from C. */
#include <larder/larder.h>
#include <stdio.h>

static void OnNotify(int32_t message) { (void)message; }

int main(void) {
  FileObjectDescriptor file = {{0, 0}, {0}};
  DataBlockHeader block = {sizeof block, 9};
  DataBlockHeader* data = NULL;
  LarderHandle handle = NULL;
  LarderWideChar text[8] = {0};
  printf("text: %u\n", (unsigned)LarderErrorToString(LARDER_OK, 8, text));
  printf("ends in: %c\n", (char)text[6]);
  printf("init: %d\n", (int)LarderInit(OnNotify, &handle));
  printf("init again: %d\n", (int)LarderInit(OnNotify, &handle));
  printf("query: %d\n", (int)LarderQuery(handle, &file, 9, 0, &data, LARDER_QUERY_VERSION));
  printf("write: %d\n", (int)LarderWrite(handle, &file, 9, &block));
  printf("free: %d\n", (int)LarderFreeQuery(NULL, &block));
  for (int i = 0; i < 3; ++i) printf("release: %d\n", (int)LarderRelease());
  return 0;
}
