/* Prints the SHA-256 digest of a file. C11. */
#include <larder/feed-file.h>
#include <larder/larder.h>

#include <stdio.h>
#include <string.h>

#ifdef _WIN32
static int IsFull(const char* path) {
  return (path[0] != '\0' && path[1] == ':') || strncmp(path, "\\\\", 2) == 0;
}
static int IsRefused(uint32_t character) { return character >= 0x80; } /* of some code page */
#else
static int IsFull(const char* path) { return path[0] == '/'; }
static int IsRefused(uint32_t character) { return character == '\\'; } /* would separate names */
#endif

typedef struct FileToQuery { /* FileObjectDescriptor with a longer path */
  uint32_t lastModified[2];
  LarderWideChar filePath[4097];
} FileToQuery;

/* Reads a character of UTF-8. Returns the number of its bytes, or 0 if the text isn't UTF-8. */
static size_t ReadCharacter(const char* text, uint32_t* character) {
  static const uint32_t least[] = {0, 0x80, 0x800, 0x10000};
  const unsigned char* bytes = (const unsigned char*)text;
  size_t more = bytes[0] < 0x80 ? 0 : bytes[0] < 0xE0 ? 1 : bytes[0] < 0xF0 ? 2 : 3;
  uint32_t value = more == 0 ? bytes[0] : bytes[0] & (0x3Fu >> more);
  if (more != 0 && (bytes[0] < 0xC0 || bytes[0] > 0xF7)) return 0;
  for (size_t i = 1; i <= more; ++i) {
    if ((bytes[i] & 0xC0) != 0x80) return 0;
    value = value << 6 | (bytes[i] & 0x3Fu);
  }
  *character = value;
  return value < least[more] || value > 0x10FFFF || value >> 11 == 0x1B ? 0 : more + 1;
}

/* Sets the path: UTF-16 with backslashes. Returns 0 if that can't express the name. */
static int SetPath(const char* name, FileToQuery* file) {
  size_t length = 0;
  if (!IsFull(name)) return 0;
  while (*name != '\0') {
    uint32_t character = 0;
    size_t size = ReadCharacter(name, &character);
    if (size == 0 || IsRefused(character) || length + 3 > 4097) return 0;
    name += size;
    if (character >= 0x10000) { /* two units */
      file->filePath[length++] = (LarderWideChar)(0xD7C0 + (character >> 10));
      character = 0xDC00 | (character & 0x3FF);
    }
    file->filePath[length++] = (LarderWideChar)(character == '/' ? '\\' : character);
  }
  return 1;
}

static int Fail(const char* function, int32_t code) {
  LarderWideChar text[64] = {0};
  LarderErrorToString(code, 64, text);
  fprintf(stderr, "%s: ", function);
  for (size_t i = 0; text[i] != 0; ++i) fputc((char)text[i], stderr); /* it is ASCII */
  fprintf(stderr, " (%d)\n", (int)code);
  return 1;
}

static int PrintDigest(LarderHandle handle, const FileToQuery* file) {
  DataBlockHeader* data = NULL;
  int32_t result = LarderQuery(handle, file, LARDER_FEED_FILE_TYPE, LARDER_FEED_FILE_NOW, &data,
                               LARDER_QUERY_VERSION);
  if (result != LARDER_OK || data == NULL) return Fail("LarderQuery", result);
  for (size_t i = 0; i < 32; ++i) printf("%02x", ((const FileDataRecord*)data)->fileSHA256[i]);
  puts("");
  LarderFreeQuery(handle, data);
  return 0;
}

static void OnNotify(int32_t message) { (void)message; }

int main(int count, char** arguments) {
  static FileToQuery file; /* zeros: the current version, and the path's end */
  LarderHandle handle = NULL;
  if (count != 2 || !SetPath(arguments[1], &file)) {
    fputs("usage: read-facts FILE, a full path that Larder can express\n", stderr);
    return 2;
  }
  int32_t result = LarderInit(OnNotify, &handle);
  if (result != LARDER_OK && result != LARDER_E_ALREADY_INITIALIZED)
    return Fail("LarderInit", result);
  int status = PrintDigest(handle, &file);
  LarderRelease();
  return status;
}
