// Runs every operation that allocates with its nth allocation failing, for each n until it
// succeeds: nothing but std::bad_alloc comes out, nothing leaks, and output is kept as promised.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <new>

#include "../../bench/plain_crypto.h"
#include "asn_helper.h"
#include "asn_printable.h"
#include "asn_tag.h"
#include "t61.h"
#include "test_util.h"

namespace {

long allowed = -1;  // allocations before one fails; negative: none fails
long live = 0;

void* try_to_allocate(std::size_t size) {
  void* const block = allowed == 0 ? nullptr : std::malloc(size + 1);
  allowed -= allowed > 0 ? 1 : 0;
  live += block != nullptr ? 1 : 0;
  return block;
}

void* allocate(std::size_t size) {
  if (void* const block = try_to_allocate(size)) {
    return block;
  }
  throw std::bad_alloc();
}

void release(void* block) {
  live -= block != nullptr ? 1 : 0;
  std::free(block);
}

}  // namespace

// clang-format off
void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return try_to_allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
// clang-format on

namespace {

const unsigned char* data_of(const std::string& s) {
  return reinterpret_cast<const unsigned char*>(s.data());
}
unsigned size_of(const std::string& s) {
  return static_cast<unsigned>(s.size());
}
std::string read_file(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

const std::string dn = "CN=\\C3\\A9\\, x,O=\"" + std::string(2000, 'o') +
                       "\"+OU=a,1.2.643.100.1=#120131,C=a,C=b,C=c,C=d,C=e,C=f,C=g,C=h,C=i,C=j";
const std::string name = der(0x30, der(0x31, der(0x30, from_hex("06 03 55 04 03 14 03 C2 65 61"))) +
                                       der(0x31, der(0x30, from_hex("06 01 2A 1E 02 04 41"))));
const std::string map_text = "1.2.3 = X, a long name that does not fit into a short string\n1.2=Y";
const std::string bytes(2000, '\1');
const blob_t blob{size_of(bytes), data_of(bytes)};
const std::string pfx = read_file(CORPUS "/containers/pfx_full.bin");
const std::string old_text(64, '~');
const oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT;

enum promise_t { appends, replaces };  // the old text stays in front; or stays until success

struct operation_t {
  const char* name;
  promise_t promise;
  void (*run)(std::string& out);
};

void print(std::string& out, PrintableDnOrder order) {
  ASSERT_TRUE(asn_dn_to_printable(data_of(name), size_of(name), out, order, map));
}

const operation_t operations[] = {
    {"builder", appends, [](std::string&) { asn_tag_t_<64>(0x04, bytes.data(), 2000); }},
    {"integer", appends, [](std::string& out) { asn_write_INTEGER(0x12345678, out); }},
    {"oid text", appends,
     [](std::string& out) { oid_asn_to_str_(data_of(bytes), data_of(bytes) + 2000, out); }},
    {"map", appends,
     [](std::string&) { oid_map_release(oid_map_parse(map_text.data(), size_of(map_text))); }},
    {"attribute", appends,
     [](std::string& out) { printable_dn_get_attr(dn.c_str(), "O", out, DN_GET_ATTR_RDN); }},
    {"order", appends, [](std::string&) { printable_dn_C_before_CN(dn.c_str()); }},
    {"reversal", replaces,
     [](std::string& out) {
       std::string text = dn;
       printable_dn_reverse(text.data());
       out = text;
     }},
    {"print", appends, [](std::string& out) { print(out, DN_ORDER_DIRECT); }},
    {"print in reverse", appends, [](std::string& out) { print(out, DN_ORDER_REVERSE); }},
    {"algorithm", appends,
     [](std::string& out) {
       const std::string oid = from_hex("06 09 2A 86 48 86 F7 0D 01 01 0B");
       asn_oid_to_printable(data_of(oid), size_of(oid), out, true, nullptr);
     }},
    {"encode", replaces, [](std::string& out) { printable_to_asn_dn(dn.c_str(), out, map); }},
    {"normal form", appends,
     [](std::string&) {
       std::string out;
       ASSERT_TRUE(printable_dn_normalize(dn, out, nullptr, map));
     }},
    {"T.61", appends,
     [](std::string& out) { ldap_t61s_to_utf8s(bytes.data(), size_of(bytes), out); }},
    {"hex", replaces,
     [](std::string& out) { TO_HEX_STD_STRING(data_of(bytes), size_of(bytes), out, ':'); }},
    {"time", appends, [](std::string& out) { TimeToString(0, out); }},
    {"time GMT", appends, [](std::string& out) { CertTimeToStringGMT(0x7E80205070809, out); }},
    {"time local", appends, [](std::string& out) { CertTimeToString(0x7E80205070809, out); }},
    {"digest", replaces,
     [](std::string& out) {
       std::string digest = bytes;
       asn_add_alg_to_digest(digest, 0x00040000);
       out.swap(digest);
     }},
    {"PBES2", replaces,
     [](std::string& out) {
       asn_write_pkcs5_pbe_gost({blob, 1, blob}, out);
     }},
    {"PKCS#8", replaces,
     [](std::string& out) {
       asn_write_pkcs8_pki_gost({PKCS8_GOST_2001, blob}, out);
     }},
    {"PKCS#8 encrypted", replaces,
     [](std::string& out) {
       asn_write_pkcs8_encrypted_pki_gost({{}, blob}, out);
     }},
    {"PKCS#12", replaces,
     [](std::string& out) {
       PlainCrypto crypto;
       pkcs12_easy_t model;
       ASSERT_TRUE(asn_read_pkcs12_easy(data_of(pfx), size_of(pfx), &crypto, model));
       asn_write_pkcs12_easy(model, &crypto, out);
     }},
};

// Fails the nth allocation. Returns whether the operation succeeded, having had no need of it.
bool succeeds(const operation_t& operation, long n) {
  std::string out = old_text;
  allowed = n;
  try {
    operation.run(out);
    allowed = -1;
    return true;
  } catch (const std::bad_alloc&) {
    allowed = -1;
    EXPECT_EQ(out.compare(0, old_text.size(), old_text), 0);
    EXPECT_TRUE(operation.promise == appends || out.size() == old_text.size());
    return false;
  }
}

TEST(Memory, EveryAllocationMayFail) {
  for (const operation_t& operation : operations) {
    SCOPED_TRACE(operation.name);
    long n = 0;
    const long before = live;
    while (!succeeds(operation, n)) {
      ++n;
    }
    EXPECT_GT(n, 0) << "allocates nothing";
    EXPECT_EQ(live, before);
  }
}

}  // namespace
