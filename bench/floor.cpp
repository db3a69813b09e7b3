// What the machine needs for the job: for every workload the least code that gives the library's
// bytes for these inputs. One pass over the input, no checks, nothing looked up that the inputs do
// not need. A mark to measure against, wrong for any other input and used nowhere else.
//
// What any code for the job would do, the floors do, too: each is called for every item rather than
// taken into the loop, finds its way by the headers in the input, gives its result in the library's
// form (the caller's string, which keeps its room, a model, views, an entry of a map), and calls
// the cryptography where the library must.

#include <algorithm>
#include <cstring>
#include <memory>

#include <pkider/asn_helper.h>
#include <pkider/asn_oidmap.h>
#include <pkider/asn_printable.h>

#include "cases.h"
#include "plain_crypto.h"
#include "samples.h"

namespace {

constexpr const char* who = "floor";

using byte_t = unsigned char;

unsigned size32(const bytes_t& bytes) {
  return static_cast<unsigned>(bytes.size());
}

void expect_same(const std::string& floor, const void* ours, std::size_t size, const char* what) {
  require(floor.size() == size && std::memcmp(floor.data(), ours, size) == 0, what);
}

// Where results of unknown size are made, before they go to the caller's string.
byte_t output[1 << 20];

void assign(std::string& result, const byte_t* begin, const byte_t* end) {
  result.assign(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin));
}

// One element: its content, and where it ends.
struct element_t {
  const byte_t* begin;
  const byte_t* end;
};

element_t element_at(const byte_t* p) {
  std::size_t size = p[1];
  p += 2;
  if (size >= 0x80) {
    const byte_t* begin = p + (size - 0x80);
    for (size = 0; p != begin; ++p) {
      size = size << 8 | *p;
    }
  }
  return {p, p + size};
}

// The first element in the one at `p`.
const byte_t* inside(const byte_t* p) {
  return p + (p[1] < 0x80 ? 2 : p[1] - 0x80 + 2);
}

blob_t view_of(const element_t& element) {
  return {static_cast<unsigned>(element.end - element.begin), element.begin};
}

// ---- W1: constructed elements are entered, others passed over ----

[[gnu::noinline]] std::size_t walk(const bytes_t& der) {
  std::size_t elements = 0;
  const byte_t* end = der.data() + der.size();
  for (const byte_t* p = der.data(); p != end; ++elements) {
    const bool constructed = (*p & 0x20) != 0;
    const element_t element = element_at(p);
    p = constructed ? element.begin : element.end;
  }
  return elements;
}

// ---- W2: every RDN has one attribute ----

// The attribute types of the inputs differ in the last byte of their OIDs.
struct type_t {
  const char* text;
  unsigned size;
};

struct types_t {
  type_t of[256] = {};
  constexpr types_t() {
    of[3] = {"CN", 2};
    of[5] = {"2.5.4.5", 7};
    of[6] = {"C", 1};
    of[7] = {"L", 1};
    of[8] = {"ST", 2};
    of[10] = {"O", 1};
    of[11] = {"OU", 2};
    of[97] = {"2.5.4.97", 8};
    of[1] = {"E", 1};
  }
};
constexpr types_t types;

struct specials_t {
  bool is[256] = {};
  constexpr specials_t() {
    for (const char c : {'"', '#', '+', ',', ';', '<', '=', '>', '\\'}) {
      is[static_cast<byte_t>(c)] = true;
    }
  }
};
constexpr specials_t specials;

[[gnu::noinline]] void print(const bytes_t& der, std::string& text) {
  byte_t* out = output;
  const element_t name = element_at(der.data());
  for (const byte_t* p = name.begin; p != name.end;) {
    const element_t rdn = element_at(p);
    const element_t oid = element_at(inside(rdn.begin));
    const type_t& type = types.of[oid.end[-1]];
    std::memcpy(out, type.text, type.size);
    out += type.size;
    *out++ = '=';
    const element_t value = element_at(oid.end);
    for (p = value.begin; p != value.end; ++p) {
      if (specials.is[*p]) {
        *out++ = '\\';
      }
      *out++ = *p;
    }
    *out++ = ',';
    p = rdn.end;
  }
  assign(text, output, out - 1);
}

// From the end of the output down, and so from each value's end.
[[gnu::noinline]] void print_reverse(const bytes_t& der, std::string& text) {
  byte_t* const out_end = output + sizeof output;
  byte_t* out = out_end;
  const element_t name = element_at(der.data());
  for (const byte_t* p = name.begin; p != name.end;) {
    const element_t rdn = element_at(p);
    const element_t oid = element_at(inside(rdn.begin));
    const element_t value = element_at(oid.end);
    *--out = ',';
    for (p = value.end; p != value.begin;) {
      *--out = *--p;
      if (specials.is[*p]) {
        *--out = '\\';
      }
    }
    *--out = '=';
    const type_t& type = types.of[oid.end[-1]];
    out -= type.size;
    std::memcpy(out, type.text, type.size);
    p = rdn.end;
  }
  assign(text, out, out_end - 1);
}

// ---- W3: no quotes, no hexadecimal digits, every header but the first two bytes long ----

constexpr byte_t not_printable = 1;
constexpr byte_t not_ascii = 2;

struct classes_t {
  byte_t of[256] = {};
  constexpr classes_t() {
    for (unsigned c = 0; c < 256; ++c) {
      of[c] = c < 0x80 ? not_printable : not_ascii;
    }
    for (const char* p =
             "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 '()+,-./:=?";
         *p != 0; ++p) {
      of[static_cast<byte_t>(*p)] = 0;
    }
  }
};
constexpr classes_t classes;

// The last byte of 2.5.4.x.
byte_t type_number(const char* name) {
  switch (name[0]) {
    case 'C':
      return name[1] == 'N' ? 3 : 6;
    case 'L':
      return 7;
    case 'S':
      return 8;
    case 'O':
      return name[1] == 'U' ? 11 : 10;
    default:
      return name[7] == '=' ? 5 : 97;
  }
}

byte_t string_type(byte_t found) {
  return (found & not_ascii) != 0 ? 0x0C : found != 0 ? 0x16 : 0x13;
}

[[gnu::noinline]] void parse(const std::string& text, std::string& der) {
  constexpr byte_t email[] = {0x06, 9, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x01};
  byte_t* const content = output + 6;
  byte_t* out = content;
  for (const char* p = text.data(); *p != 0;) {
    byte_t* const rdn = out;
    out += 4;
    if (*p == 'E') {
      std::memcpy(out, email, sizeof email);
      out += sizeof email;
    } else {
      const byte_t oid[] = {0x06, 3, 0x55, 0x04, type_number(p)};
      std::memcpy(out, oid, sizeof oid);
      out += sizeof oid;
    }
    while (*p++ != '=') {
    }
    byte_t* const value = out;
    out += 2;
    byte_t found = 0;
    for (; *p != 0 && *p != ','; ++p) {
      if (*p == '\\') {
        ++p;
      }
      const byte_t c = static_cast<byte_t>(*p);
      found |= classes.of[c];
      *out++ = c;
    }
    value[0] = string_type(found);
    value[1] = static_cast<byte_t>(out - value - 2);
    rdn[0] = 0x31;
    rdn[1] = static_cast<byte_t>(out - rdn - 2);
    rdn[2] = 0x30;
    rdn[3] = static_cast<byte_t>(out - rdn - 4);
    if (*p == ',') {
      ++p;
    }
  }
  std::size_t size = static_cast<std::size_t>(out - content);
  byte_t* begin = content;
  byte_t length_bytes = 0x80;
  if (size < 0x80) {
    length_bytes = static_cast<byte_t>(size);
  } else {
    for (; size != 0; size >>= 8, ++length_bytes) {
      *--begin = static_cast<byte_t>(size);
    }
  }
  *--begin = length_bytes;
  *--begin = 0x30;
  assign(der, begin, out);
}

// ---- W4 ----

unsigned read_arc(const char*& p) {
  unsigned arc = 0;
  for (; *p >= '0'; ++p) {
    arc = arc * 10 + static_cast<unsigned>(*p - '0');
  }
  return arc;
}

[[gnu::noinline]] unsigned oid_to_der(const std::string& text, byte_t (&der)[512]) {
  byte_t* out = der;
  const char* p = text.data() + 2;
  unsigned arc = static_cast<unsigned>(text[0] - '0') * 40 + read_arc(p);
  for (;; arc = read_arc(++p)) {
    unsigned shift = 0;
    while (arc >> shift >= 0x80) {
      shift += 7;
    }
    for (; shift != 0; shift -= 7) {
      *out++ = static_cast<byte_t>(arc >> shift | 0x80);
    }
    *out++ = arc & 0x7F;
    if (*p == 0) {
      return static_cast<unsigned>(out - der);
    }
  }
}

byte_t* put_number(byte_t* out, unsigned value) {
  byte_t digits[10];
  byte_t* digit = digits;
  for (; value >= 10; value /= 10) {
    *digit++ = static_cast<byte_t>('0' + value % 10);
  }
  *digit++ = static_cast<byte_t>('0' + value);
  while (digit != digits) {
    *out++ = *--digit;
  }
  return out;
}

[[gnu::noinline]] void oid_to_text(const bytes_t& oid, std::string& text) {
  const byte_t* p = oid.data() + 2;
  const byte_t* end = oid.data() + oid.size();
  byte_t* out = output;
  *out++ = static_cast<byte_t>('0' + *p / 40);
  *out++ = '.';
  out = put_number(out, *p++ % 40);
  while (p != end) {
    unsigned arc = *p & 0x7F;
    while ((*p++ & 0x80) != 0) {
      arc = arc << 7 | (*p & 0x7F);
    }
    *out++ = '.';
    out = put_number(out, arc);
  }
  assign(text, output, out);
}

// ---- W5: containers of certificates, each with a friendly name, then a key id ----

// The element after the one at `p`.
const byte_t* after(const byte_t* p) {
  return element_at(p).end;
}

// The attribute at `p`, by the last byte of its type.
const byte_t* read_attribute(const byte_t* p, pkcs12_bag_t& bag) {
  const element_t type = element_at(inside(p));
  const element_t value = element_at(inside(type.end));
  (type.end[-1] == 0x14 ? bag.friendly_name : bag.local_key_id) = view_of(value);
  return value.end;
}

// The content of the ContentInfo at `p`: an OCTET STRING.
element_t content_at(const byte_t* p) {
  return element_at(inside(after(inside(p))));
}

[[gnu::noinline]] bool read_container(const bytes_t& der, pbe_crypto_t* crypto,
                                      pkcs12_easy_t& model) {
  const byte_t* auth_safe = after(inside(der.data()));
  const element_t safes = content_at(auth_safe);
  const byte_t* p = inside(inside(safes.end));
  const element_t digest_alg = element_at(p);
  const element_t digest = element_at(digest_alg.end);
  const element_t salt = element_at(digest.end);
  model.mac = {view_of(digest_alg), view_of(digest), view_of(salt), salt.end[2]};
  p = inside(after(inside(auth_safe)));
  if (!crypto->verify_mac(model.mac, p, static_cast<unsigned>(safes.end - p))) {
    return false;
  }
  const element_t contents = element_at(content_at(inside(safes.begin)).begin);
  for (p = contents.begin; p != contents.end;) {
    const element_t bag_element = element_at(p);
    const element_t kind = element_at(bag_element.begin);
    const byte_t* cert_bag = inside(kind.end);
    const element_t value = element_at(inside(after(inside(cert_bag))));
    pkcs12_bag_t& bag = model.plain_bags.emplace_back();
    bag.type = kind.end[-1] == 3 ? PKCS12_BAG_CERT : PKCS12_BAG_KEY;
    bag.value = view_of(value);
    for (p = inside(value.end); p != bag_element.end;) {
      p = read_attribute(p, bag);
    }
  }
  return true;
}

// Writes from the end down: every length is known when its header comes. Or only counts.
template <bool counts>
class writer_t {
 public:
  explicit writer_t(byte_t* end) : at_(end) {}

  const byte_t* at() const { return at_; }

  void put(const void* bytes, std::size_t size) {
    at_ -= size;
    if (!counts) {
      std::memcpy(at_, bytes, size);
    }
  }
  template <std::size_t N>
  void put(const byte_t (&bytes)[N]) {
    put(bytes, N);
  }
  void put(std::size_t byte) {
    --at_;
    if (!counts) {
      *at_ = static_cast<byte_t>(byte);
    }
  }
  // The header of all from here to `end`.
  void header(byte_t identifier, const byte_t* end) {
    std::size_t size = static_cast<std::size_t>(end - at_);
    if (size < 0x80) {
      put(size);
    } else {
      byte_t length_bytes = 0x80;
      for (; size != 0; size >>= 8, ++length_bytes) {
        put(size);
      }
      put(length_bytes);
    }
    put(identifier);
  }

 private:
  byte_t* at_;
};

constexpr byte_t version_3[] = {0x02, 1, 3};
constexpr byte_t data_oid[] = {0x06, 9, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
constexpr byte_t cert_bag_oid[] = {0x06, 11,   0x2A, 0x86, 0x48, 0x86, 0xF7,
                                   0x0D, 0x01, 0x0C, 0x0A, 0x01, 0x03};
constexpr byte_t certificate_oid[] = {0x06, 10,   0x2A, 0x86, 0x48, 0x86,
                                      0xF7, 0x0D, 0x01, 0x09, 0x16, 0x01};
constexpr byte_t friendly_name_oid[] = {0x06, 9,    0x2A, 0x86, 0x48, 0x86,
                                        0xF7, 0x0D, 0x01, 0x09, 0x14};
constexpr byte_t key_id_oid[] = {0x06, 9, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x15};
// The DigestInfo, its digest empty.
constexpr byte_t no_digest[] = {0x30, 14,   0x30, 10,   0x06, 6,    0x2A, 0x85,
                                0x03, 0x02, 0x02, 0x09, 0x05, 0x00, 0x04, 0x00};

template <class Writer>
void put_attribute(Writer& writer, const byte_t (&oid)[11], byte_t identifier,
                   const blob_t& value) {
  const byte_t* end = writer.at();
  writer.put(value.data, value.size);
  writer.header(identifier, end);
  writer.header(0x31, end);
  writer.put(oid);
  writer.header(0x30, end);
}

template <class Writer>
void put_bag(Writer& writer, const pkcs12_bag_t& bag) {
  const byte_t* end = writer.at();
  put_attribute(writer, key_id_oid, 0x04, bag.local_key_id);
  put_attribute(writer, friendly_name_oid, 0x1E, bag.friendly_name);
  writer.header(0x31, end);
  const byte_t* value_end = writer.at();
  writer.put(bag.value.data, bag.value.size);
  writer.header(0x04, value_end);
  writer.header(0xA0, value_end);
  writer.put(certificate_oid);
  writer.header(0x30, value_end);
  writer.header(0xA0, value_end);
  writer.put(cert_bag_oid);
  writer.header(0x30, end);
}

template <class Writer>
void put_container(Writer& writer, const pkcs12_easy_t& model, pbe_crypto_t* crypto) {
  const byte_t* const end = writer.at();
  const byte_t iterations[] = {0x02, 1, static_cast<byte_t>(model.mac.mac_iterations)};
  writer.put(iterations);
  const byte_t* const salt_end = writer.at();
  writer.put(model.mac.mac_salt.data, model.mac.mac_salt.size);
  writer.header(0x04, salt_end);
  writer.put(no_digest);
  writer.header(0x30, end);
  const byte_t* const safes_end = writer.at();
  for (auto bag = model.plain_bags.rbegin(); bag != model.plain_bags.rend(); ++bag) {
    put_bag(writer, *bag);
  }
  writer.header(0x30, safes_end);
  writer.header(0x04, safes_end);
  writer.header(0xA0, safes_end);
  writer.put(data_oid);
  writer.header(0x30, safes_end);
  writer.header(0x30, safes_end);
  writer.header(0x04, safes_end);
  if (crypto != nullptr) {
    pkcs12_mac_t mac;  // the model's is written
    crypto->compute_mac(writer.at(), static_cast<unsigned>(safes_end - writer.at()), mac);
  }
  writer.header(0xA0, safes_end);
  writer.put(data_oid);
  writer.header(0x30, safes_end);
  writer.put(version_3);
  writer.header(0x30, end);
}

[[gnu::noinline]] void write_container(const pkcs12_easy_t& model, pbe_crypto_t* crypto,
                                       std::string& der) {
  static byte_t nowhere[1 << 24];  // counted in, never written
  writer_t<true> counter(std::end(nowhere));
  put_container(counter, model, nullptr);
  der.resize(static_cast<std::size_t>(std::end(nowhere) - counter.at()));
  writer_t<false> writer(reinterpret_cast<byte_t*>(der.data()) + der.size());
  put_container(writer, model, crypto);
}

// ---- W6: an RSA key, its modulus with at most one leading zero byte ----

[[gnu::noinline]] void read_rsa_key(const bytes_t& der, asn_pubkey_t& key, asn_rsa_pubkey_t& rsa) {
  const element_t algorithm = element_at(inside(der.data()));
  const element_t oid = element_at(algorithm.begin);
  const element_t bits = element_at(algorithm.end);
  key = {view_of(oid), view_of({oid.end, algorithm.end}), view_of({bits.begin + 1, bits.end})};
  const element_t modulus = element_at(inside(bits.begin + 1));
  rsa.modulus = view_of({modulus.begin + (*modulus.begin == 0), modulus.end});
  rsa.exponent = view_of(element_at(modulus.end));
}

// ---- W7: a table by the last byte ----

OIDdescr_t entries[256];

[[gnu::noinline]] const OIDdescr_t* find_entry(const byte_t* oid, unsigned size) {
  return &entries[oid[size - 1]];
}

// ---- The cases, each compared with the library's bytes ----

void check_name(const bytes_t& der, PrintableDnOrder order, const std::string& floor) {
  std::string text;
  require(asn_dn_to_printable(der.data(), size32(der), text, order, OID_MAP_HANDLE_DEFAULT),
          "asn_dn_to_printable");
  expect_same(floor, text.data(), text.size(), "the floor of W2");
}

void check_name(const bytes_t& der) {
  std::string floor;
  print(der, floor);
  check_name(der, DN_ORDER_DIRECT, floor);
  print_reverse(der, floor);
  check_name(der, DN_ORDER_REVERSE, floor);
}

void check_text(const std::string& text) {
  std::string der;
  std::string floor;
  require(printable_to_asn_dn(text.c_str(), der, OID_MAP_HANDLE_DEFAULT), "printable_to_asn_dn");
  parse(text, floor);
  expect_same(floor, der.data(), der.size(), "the floor of W3");
}

bool same(const blob_t& a, const blob_t& b) {
  return a.size == b.size && a.data == b.data;
}

void check_reading(const container_t& container) {
  plain_crypto_t crypto;
  pkcs12_easy_t ours;
  require(asn_read_pkcs12_easy(container.der.data(), size32(container.der), &crypto, ours),
          "asn_read_pkcs12_easy");
  pkcs12_easy_t floor;
  require(read_container(container.der, &crypto, floor), "the floor of W5-read");
  const auto equal = [](const pkcs12_bag_t& a, const pkcs12_bag_t& b) {
    return a.type == b.type && same(a.value, b.value) && same(a.friendly_name, b.friendly_name) &&
           same(a.local_key_id, b.local_key_id);
  };
  require(std::equal(floor.plain_bags.begin(), floor.plain_bags.end(), ours.plain_bags.begin(),
                     ours.plain_bags.end(), equal) &&
              same(floor.mac.digest_alg, ours.mac.digest_alg) &&
              same(floor.mac.digest, ours.mac.digest) &&
              same(floor.mac.mac_salt, ours.mac.mac_salt) &&
              floor.mac.mac_iterations == ours.mac.mac_iterations,
          "the floor of W5-read");
}

void check_writing(const pkcs12_easy_t& model) {
  plain_crypto_t crypto;
  std::string der;
  std::string floor;
  asn_write_pkcs12_easy(model, &crypto, der);
  write_container(model, &crypto, floor);
  expect_same(floor, der.data(), der.size(), "the floor of W5-write");
}

void check_key(const bytes_t& der) {
  asn_pubkey_t key;
  asn_rsa_pubkey_t ours;
  require(asn_read_pubkey(der.data(), static_cast<long>(der.size()), key), "asn_read_pubkey");
  require(asn_read_rsa_pubkey(key, ours), "asn_read_rsa_pubkey");
  asn_pubkey_t floor_key;
  asn_rsa_pubkey_t floor;
  read_rsa_key(der, floor_key, floor);
  require(same(floor_key.alg, key.alg) && same(floor_key.params, key.params) &&
              same(floor_key.key, key.key) && same(floor.modulus, ours.modulus) &&
              same(floor.exponent, ours.exponent),
          "the floor of W6");
}

void add_entry(const bytes_t& oid) {
  const OIDdescr_t* entry =
      oid_map_find_asn(OID_MAP_HANDLE_DEFAULT, oid.data() + 2, size32(oid) - 2);
  require(entry != nullptr, "the floor of W7");
  OIDdescr_t& own = entries[oid.back()];
  require(own.oid_sn == nullptr || own.oid_sn == entry->oid_sn, "the floor of W7");
  own = *entry;
}

void check_oid(const bytes_t& oid, const std::string& text) {
  byte_t der[512];
  require(oid_to_der(text, der) == oid.size() - 2 &&
              std::memcmp(der, oid.data() + 2, oid.size() - 2) == 0,
          "the floor of W4-to-der");
  std::string floor;
  oid_to_text(oid, floor);
  expect_same(floor, text.data(), text.size(), "the floor of W4-to-text");
}

void add_names(const samples_t& samples, cases_t& cases) {
  static std::string result;
  const auto direct = [](const bytes_t& der) {
    print(der, result);
    return result.size();
  };
  const auto reverse = [](const bytes_t& der) {
    print_reverse(der, result);
    return result.size();
  };
  const auto to_der = [](const name_t& name) {
    parse(name.text, result);
    return result.size();
  };
  const std::size_t names = samples.names.size();
  add_each(cases, {"W2-direct", "names", names}, who, samples.names, direct);
  add_each(cases, {"W2-reverse", "names", names}, who, samples.names, reverse);
  add_each(cases, {"W3", "names", samples.plain_names.size()}, who, samples.plain_names, to_der);
  for (const name_t& name : samples.generated_names) {
    const std::size_t rdns = name.attributes.size();
    const std::string input = std::to_string(rdns);
    add_one(cases, {"W2-direct", input, rdns}, who, name.der, direct);
    add_one(cases, {"W2-reverse", input, rdns}, who, name.der, reverse);
    add_one(cases, {"W3", input, rdns}, who, name, to_der);
  }
}

void add_reading(const container_t& container, cases_t& cases) {
  check_reading(container);
  const std::size_t bags = container.bags.size();
  const auto read = [](const container_t& one) {
    plain_crypto_t crypto;
    pkcs12_easy_t model;
    require(read_container(one.der, &crypto, model), "the floor of W5-read");
    std::size_t sum = 0;
    for (const pkcs12_bag_t& bag : model.plain_bags) {
      sum += bag.friendly_name.size + bag.local_key_id.size;
    }
    return sum;
  };
  add_one(cases, {"W5-read", std::to_string(bags), bags}, who, container, read);
}

void add_writing(const container_t& container, cases_t& cases) {
  const std::size_t bags = container.bags.size();
  const auto model = std::make_shared<pkcs12_easy_t>(model_of(container, false));
  check_writing(*model);
  const workload_t writing = {"W5-write", std::to_string(bags), bags};
  const auto write = [model] {
    static std::string der;
    plain_crypto_t crypto;
    write_container(*model, &crypto, der);
    return der.size();
  };
  cases.push_back({writing, who, write, ""});
}

}  // namespace

// ---- All cases ----

void add_floor(const samples_t& samples, cases_t& cases) {
  for (const bytes_t& name : samples.names) {
    check_name(name);
  }
  for (const name_t& name : samples.plain_names) {
    check_text(name.text);
  }
  for (const name_t& name : samples.generated_names) {
    check_name(name.der);
    check_text(name.text);
  }
  for (std::size_t i = 0; i < samples.oids.size(); ++i) {
    check_oid(samples.oids[i], samples.oid_text[i]);
  }
  for (const bytes_t& key : samples.rsa_keys) {
    check_key(key);
  }
  for (const bytes_t& type : samples.attribute_types) {
    add_entry(type);
  }
  add_each(cases, {"W1", "certificates", samples.elements}, who, samples.certificates, walk);
  add_names(samples, cases);
  const std::size_t oids = samples.oids.size();
  add_each(cases, {"W4-to-der", "oids", oids}, who, samples.oid_text, [](const std::string& text) {
    byte_t der[512];
    return std::size_t{oid_to_der(text, der)};
  });
  add_each(cases, {"W4-to-text", "oids", oids}, who, samples.oids, [](const bytes_t& oid) {
    static std::string text;
    oid_to_text(oid, text);
    return text.size();
  });
  for (const container_t& container : samples.containers) {
    add_reading(container, cases);
  }
  for (const container_t& container : samples.certificate_containers) {
    add_writing(container, cases);
  }
  add_each(cases, {"W6", "keys", samples.rsa_keys.size()}, who, samples.rsa_keys,
           [](const bytes_t& der) {
             asn_pubkey_t key;
             asn_rsa_pubkey_t rsa;
             read_rsa_key(der, key, rsa);
             return std::size_t{rsa.modulus.size};
           });
  add_each(cases, {"W7", "types", samples.attribute_types.size()}, who, samples.attribute_types,
           [](const bytes_t& oid) {
             const OIDdescr_t* entry = find_entry(oid.data() + 2, size32(oid) - 2);
             require(entry != nullptr, "the floor of W7");
             return std::size_t{entry->oid_sn != nullptr};
           });
}
