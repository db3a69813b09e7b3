// The names of real certificates: those of the distribution's CA package.

#include <cstring>
#include <filesystem>
#include <set>

#include "asn_printable.h"
#include "der_text.h"

namespace {

// The bytes of a file with one PEM block.
std::string from_pem(const std::filesystem::path& file) {
  static const std::string digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::ifstream in(file);
  std::string line, out;
  std::getline(in, line);
  unsigned bits = 0, count = 0;
  while (std::getline(in, line) && line[0] != '-') {
    for (const char c : line.substr(0, line.find('='))) {
      bits = bits << 6 | static_cast<unsigned>(digits.find(c));
      count += 6;
      if (count >= 8) {
        count -= 8;
        out += static_cast<char>(bits >> count);
      }
    }
  }
  return out;
}

// The content of the first element, and the size of that element.
std::pair<std::string, std::size_t> first(const std::string& bytes) {
  unsigned size = 0;
  const blob_t all = view(bytes);
  const unsigned char* content = asn1_read_tag(asn_tag_t::ANY, all.data, all.size, &size);
  const std::size_t header = content == nullptr ? bytes.size() : content - all.data;
  return {bytes.substr(header, size), header + size};
}

// The elements inside an element.
std::vector<std::string> children(const std::string& element) {
  std::vector<std::string> found;
  for (std::string rest = first(element).first; !rest.empty();) {
    const std::size_t size = first(rest).second;
    found.push_back(rest.substr(0, size));
    rest.erase(0, size);
  }
  return found;
}

// The identifier of the string type that the bytes of a text alone ask for.
char usual_type(const std::string& text) {
  static const std::string printable =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 '()+,-./:=?";
  const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
  return !ascii ? 0x0C : text.find_first_not_of(printable) == std::string::npos ? 0x13 : 0x16;
}

bool has_usual_types(const std::string& name) {
  for (const std::string& rdn : children(name)) {
    for (const std::string& attribute : children(rdn)) {
      const std::string value = children(attribute).at(1);
      if (value[0] != usual_type(first(value).first)) {
        return false;
      }
    }
  }
  return true;
}

TEST(Certificates, Names) {
  std::set<std::string> names;
  for (const auto& file :
       std::filesystem::directory_iterator("/usr/share/ca-certificates/mozilla")) {
    const std::vector<std::string> fields = children(children(from_pem(file.path())).at(0));
    const std::size_t issuer = fields.at(0)[0] == '\xA0' ? 3 : 2;
    names.insert({fields.at(issuer), fields.at(issuer + 2)});
  }
  unsigned usual = 0;
  for (const std::string& name : names) {
    const exact_t input(name);
    std::string text, normal, der;
    EXPECT_TRUE(asn_dn_to_printable(input.data(), input.size(), text, DN_ORDER_DIRECT,
                                    OID_MAP_HANDLE_DEFAULT));
    EXPECT_TRUE(printable_dn_normalize(text, normal, &der, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ(normal, text);
    if (has_usual_types(name)) {
      EXPECT_EQ(to_hex(der), to_hex(name)) << text;
      ++usual;
    }
  }
  EXPECT_GE(names.size(), 100U);
  EXPECT_GE(usual, 50U);
}

}  // namespace
