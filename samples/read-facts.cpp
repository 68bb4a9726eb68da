#include <larder/client.hpp>

#include <clocale>
#include <iostream>

int main(int count, char** arguments) try {
  std::setlocale(LC_CTYPE, "");  // Windows passes arguments in the system's code page
  const larder::FileObject object(count == 2 ? arguments[1] : "");
  const larder::Session session;
  const auto file = session.QueryFile(object);
  if (!file) throw std::runtime_error("there is no such file");
  std::cout << larder::Hex(file->Facts().fileSHA256) << '\n';
} catch (const std::exception& error) {
  std::cerr << "read-facts: " << error.what() << '\n';
  return 1;
}
