// CMake compiles the headers of larder_test_headers for this source.
int main() {}
