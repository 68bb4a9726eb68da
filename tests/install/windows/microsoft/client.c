/* A client for Microsoft's ABI that prints the SHA-256 digest of its own file. It calls the system
 * directly and begins at Start, so that it needs no C library. */
#include <larder/feed-file.h>
#include <larder/larder.h>

__declspec(dllimport) _Noreturn void ExitProcess(uint32_t status);
__declspec(dllimport) uint32_t GetModuleFileNameW(void* module, wchar_t* path, uint32_t size);
__declspec(dllimport) void* GetStdHandle(uint32_t which);
__declspec(dllimport) int WriteFile(void* file, const void* data, uint32_t size, uint32_t* written,
                                    void* overlapped);

static void OnNotify(int32_t message) { (void)message; }

static void Check(const char* function, int32_t result) {
  uint32_t size = 0;
  if (result == LARDER_OK) return;
  while (function[size] != '\0') ++size;
  WriteFile(GetStdHandle((uint32_t)-11), function, size, &size, NULL);
  ExitProcess((uint32_t)-result);
}

static void Print(const uint8_t* digest) {
  char text[65];
  uint32_t written = 0;
  for (int i = 0; i < 64; ++i)
    text[i] = "0123456789abcdef"[(i % 2 == 0 ? digest[i / 2] >> 4 : digest[i / 2]) & 15];
  text[64] = '\n';
  WriteFile(GetStdHandle((uint32_t)-11), text, sizeof text, &written, NULL);
}

void Start(void) {
  static struct {
    uint32_t lastModified[2];
    LarderWideChar path[260];
  } file;
  LarderHandle handle = NULL;
  DataBlockHeader* data = NULL;
  GetModuleFileNameW(NULL, file.path, 260);
  Check("LarderInit", LarderInit(OnNotify, &handle));
  Check("LarderQuery", LarderQuery(handle, &file, LARDER_FEED_FILE_TYPE, LARDER_FEED_FILE_NOW,
                                   &data, LARDER_QUERY_VERSION));
  Print(((const FileDataRecord*)data)->fileSHA256);
  Check("LarderFreeQuery", LarderFreeQuery(handle, data));
  Check("LarderRelease", LarderRelease());
  ExitProcess(0);
}
