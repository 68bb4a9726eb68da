/* The installed library from C. */
#include <larder/larder.h>
#include <stdio.h>

static void OnNotify(int32_t message) { (void)message; }

int main(void) {
  LarderHandle handle = NULL;
  printf("init: %d\n", (int)LarderInit(OnNotify, &handle));
  printf("init again: %d\n", (int)LarderInit(OnNotify, &handle));
  for (int i = 0; i < 3; ++i) printf("release: %d\n", (int)LarderRelease());
  return 0;
}
