// What the headers of larder_test_headers are compiled for.
int main() {}
