/* Loads the larder.dll that the environment variable LARDER_LIBRARY names, by its full path, and
 * prints the text of a result code. C11, Windows only. */
#include <larder/larder.h>

#include <stdio.h>
#include <windows.h>

typedef uint32_t (*ErrorToString)(int32_t, uint32_t, LarderWideChar*);

/* The path must be full and have backslashes. What larder.dll needs is found beside it. */
static HMODULE LoadLarder(const wchar_t* path) {
  return LoadLibraryExW(path, NULL,
                        LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
}

int main(void) {
  wchar_t path[MAX_PATH] = {0};
  wchar_t text[64] = {0};
  GetEnvironmentVariableW(L"LARDER_LIBRARY", path, MAX_PATH);
  HMODULE library = LoadLarder(path);
  if (library == NULL) {
    printf("larder.dll can't be loaded: error %lu\n", GetLastError());
    return 1;
  }
  ErrorToString toText =
      (ErrorToString)(void (*)(void))GetProcAddress(library, "LarderErrorToString");
  toText(LARDER_E_NO_DATA, 64, text);
  printf("%ls\n", text);
  FreeLibrary(library);
  return 0;
}
