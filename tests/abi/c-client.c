/* A client in C, on a machine whose registry names no provider. */
#include <larder/larder.h>
#include <stdio.h>
#include <stdlib.h>

static int failures = 0;

static void Expect(int isTrue, const char* what) {
  if (isTrue) return;
  fprintf(stderr, "not so: %s\n", what);
  ++failures;
}

static void OnNotify(int32_t message) { (void)message; }

/* Asks in two steps, as a client does that knows no length. */
static void ExpectText(int32_t code, const char* text) {
  uint32_t i = 0;
  const uint32_t size = LarderErrorToString(code, 0, NULL);
  LarderWideChar* wide = calloc(size, sizeof *wide);
  Expect(wide != NULL, "there is memory for a text");
  if (wide == NULL) return;
  Expect(LarderErrorToString(code, size, wide) == size,
         "the second step needs what the first said");
  while (text[i] != '\0' && i < size && wide[i] == (LarderWideChar)text[i]) ++i;
  Expect(i + 1 == size && text[i] == '\0' && wide[i] == 0, text);
  free(wide);
}

static void TestTexts(void) {
  LarderWideChar tooSmall[3] = {'x', 'y', 'z'};
  ExpectText(LARDER_OK, "Success");
  ExpectText(LARDER_E_DB_OPEN_FAILED, "Failed to open the Larder DB");
  ExpectText(LARDER_E_FILE_ID_MISMATCH, "File ID mismatch");
  ExpectText(1, "");
  ExpectText(-16, "");
  Expect(LarderErrorToString(LARDER_OK, 3, tooSmall) == 8,
         "a small buffer is told the size needed");
  Expect(tooSmall[0] == 'x' && tooSmall[2] == 'z', "a small buffer stays as it was");
}

static void TestInit(void) {
  int memory = 0;
  LarderHandle handle = (LarderHandle)(void*)&memory;
  Expect(LarderInit(NULL, NULL) == LARDER_E_PARAMETER_2,
         "the output is tested before the callback");
  Expect(LarderInit(OnNotify, NULL) == LARDER_E_PARAMETER_2, "the output is required");
  Expect(LarderInit(NULL, &handle) == LARDER_E_PARAMETER_1, "the callback is required");
  Expect(handle == NULL, "the output is null without a callback");
  handle = (LarderHandle)(void*)&memory;
  Expect(LarderInit(OnNotify, &handle) == LARDER_E_DB_OPEN_FAILED, "no provider, no handle");
  Expect(handle == NULL, "the output is null without a handle");
}

static void TestCallsWithoutHandle(void) {
  DataBlockHeader block = {sizeof block, 1};
  DataBlockHeader* data = &block;
  FileObjectDescriptor file = {{0, 0}, {0}};
  LarderHandle stale = (LarderHandle)(void*)&block;
  Expect(LarderQuery(NULL, NULL, 1, 0, NULL, 0) == LARDER_E_INVALID_HANDLE,
         "query: the handle first");
  Expect(LarderQuery(stale, &file, 1, 0, &data, LARDER_QUERY_VERSION) == LARDER_E_INVALID_HANDLE,
         "query with a handle that isn't the current one");
  Expect(data == &block, "a failed query leaves the output alone");
  Expect(LarderFreeQuery(stale, &block) == LARDER_E_INVALID_HANDLE, "free without a handle");
  Expect(LarderFreeQuery(NULL, NULL) == LARDER_E_INVALID_HANDLE, "free: the handle first");
  Expect(LarderWrite(stale, &file, 1, &block) == LARDER_E_INVALID_HANDLE, "write without a handle");
  Expect(LarderWrite(NULL, NULL, 1, NULL) == LARDER_E_INVALID_HANDLE, "write: the handle first");
  Expect(LarderRelease() == LARDER_E_INVALID_HANDLE, "release without a handle");
}

int main(void) {
  TestTexts();
  TestInit();
  TestCallsWithoutHandle();
  if (failures == 0) puts("all as expected");
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
