// Tells whether two distinguished names, however written, are the same.

#include <iostream>
#include <string>

#include <pkider/asn_printable.h>

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: compare_names NAME NAME\n";
    return 2;
  }
  std::string text[2], der[2];
  for (int i = 0; i < 2; ++i) {
    if (!printable_dn_normalize(argv[i + 1], text[i], &der[i], OID_MAP_HANDLE_DEFAULT)) {
      std::cerr << "not a name: " << argv[i + 1] << '\n';
      return 2;
    }
    std::cout << text[i] << '\n';
  }
  const bool same = der[0] == der[1];
  std::cout << (same ? "the same name\n" : "different names\n");

  std::string common_name;
  if (printable_dn_get_attr(text[0].c_str(), "CN", common_name, DN_GET_ATTR_VALUE)) {
    std::cout << "the first one's CN is " << common_name << '\n';
  }
  return same ? 0 : 1;
}
