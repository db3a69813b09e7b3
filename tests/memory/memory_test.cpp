// Watches the memory that the library takes and gives back, with each of its allocations failing in
// turn: nothing but std::bad_alloc comes out, nothing leaks, output is kept as promised, and no
// block given back holds key material.

#include <new>

#include <pkider/asn_helper.h>
#include <pkider/asn_printable.h>
#include <pkider/asn_tag.h>
#include <pkider/t61.h>

#include "memory_watch.h"
#include "plain_crypto.h"
#include "rows.h"

namespace {

const rows_t file("pkcs.txt");

// Runs `action` once for each of its allocations, which fails then, and once without a failure.
// Returns the number of blocks that were given back unwiped.
template <class Action>
unsigned run_failing(const Action& action) {
  unsigned unwiped = 0;
  for (unsigned long n = 0; n == 0 || watch.allocations >= n; ++n) {
    watch = {true, n, 0, 0, 0, watch.live};
    try {
      action();
    } catch (const std::bad_alloc&) {
    }
    watch.armed = false;
    unwiped += watch.unwiped;
  }
  EXPECT_GT(watch.allocations, 1u);
  return unwiped;
}

const std::string dn = "CN=\\C3\\A9\\, x,O=\"" + std::string(2000, 'o') +
                       "\"+OU=a,1.2.643.100.1=#120131,C=a,C=b,C=c,C=d,C=e,C=f,C=g,C=h,C=i,C=j";
const std::string name = from_hex("30(31(30(06(550403) 14(C26561))) 31(30(06(2A) 1E(0441))))");
const std::string map_text = "1.2.3 = X, a long name that does not fit into a short string\n1.2=Y";
const std::string bytes(2000, '\1'), oid = der(6, bytes), old_text(64, '~');
const blob_t blob = view(bytes);
const pkcs5_pbe_gost_t pbe{blob, 1, blob};
const pkcs8_pki_gost_t key{PKCS8_GOST_2001, blob};
const pkcs8_encrypted_pki_gost_t shrouded{pbe, blob};
const oid_map_handle_t default_map = OID_MAP_HANDLE_DEFAULT;

// What only appends to its result, or has none.
void append(std::string& out) {
  asn_tag_t_<64>(0x04, bytes.data(), 2000);
  asn_write_INTEGER(0x12345678, out);
  oid_asn_to_str_(view(bytes).data, view(bytes).data + 2000, out);
  oid_map_release(oid_map_parse(map_text.data(), view(map_text).size));
  ASSERT_TRUE(printable_dn_get_attr(dn.c_str(), "O", out, DN_GET_ATTR_RDN));
  for (const PrintableDnOrder order : {DN_ORDER_DIRECT, DN_ORDER_REVERSE}) {
    ASSERT_TRUE(asn_dn_to_printable(view(name).data, view(name).size, out, order, default_map));
  }
  ASSERT_TRUE(asn_oid_to_printable(view(oid).data, view(oid).size, out, true, nullptr));
  std::string normal;
  ASSERT_TRUE(printable_dn_normalize(dn, normal, nullptr, default_map));
  ldap_t61s_to_utf8s(bytes.data(), 2000, out);
  TimeToString(0, out);
  CertTimeToStringGMT(0x7E80205070809, CertTimeToString(0x7E80205070809, out));
}

using operation_t = void (*)(std::string& out);

const operation_t operations[] = {
    append,
    [](auto& out) { printable_to_asn_dn(dn.c_str(), out, default_map); },
    [](auto& out) { TO_HEX_STD_STRING(view(bytes).data, 2000, out, ':'); },
    [](auto& out) { asn_add_alg_to_digest(out, 0x00040000); },
    [](auto& out) { asn_write_pkcs5_pbe_gost(pbe, out); },
    [](auto& out) { asn_write_pkcs8_pki_gost(key, out); },
    [](auto& out) { asn_write_pkcs8_encrypted_pki_gost(shrouded, out); },
    [](auto& out) {
      plain_crypto_t crypto;
      pkcs12_easy_t model;
      model.plain_bags = {{PKCS12_BAG_CERT, blob, blob, blob}};
      model.encrypted_bags = {{PKCS12_BAG_KEY, blob, {}, {}}, {PKCS12_BAG_CERT, blob, {}, {}}};
      asn_write_pkcs12_easy(model, &crypto, out);
    },
};

// All but append leave their output as it was until they succeed.
TEST(Memory, EveryAllocationMayFail) {
  for (const operation_t operation : operations) {
    const long before = watch.live;
    run_failing([operation] {
      std::string out = old_text;
      try {
        operation(out);
      } catch (const std::bad_alloc&) {
        EXPECT_EQ(out.substr(0, operation == append ? 64 : out.npos), old_text);
      }
    });
    EXPECT_EQ(watch.live, before);
  }
}

std::string secrets(unsigned count) {
  return count == 0 ? "" : secret + secrets(count - 1);
}

enum answer_t { yes, no, thrown };

// Decrypts to one text, with a secret in the room after it, and "encrypts" to as many 'x'.
struct fake_crypto_t : plain_crypto_t {
  const answer_t given;
  const std::string text;

  fake_crypto_t(answer_t answer, const std::string& plaintext) : given(answer), text(plaintext) {}
  bool answer() const { return given == thrown ? throw std::bad_alloc() : given == yes; }
  bool decrypt(const pkcs5_pbe_gost_t&, const unsigned char*, unsigned,
               std::string& plaintext) override {
    plaintext.reserve(text.size() + 2 * sizeof(secret));
    plaintext.append(text).append(secret).append(secret);  // the cut damages the first
    plaintext.resize(text.size());
    return answer();
  }
  bool compute_mac(const unsigned char*, unsigned, pkcs12_mac_t& mac) override {
    mac.digest = mac.mac_salt = view(text);
    return answer();
  }
  bool encrypt(const unsigned char*, unsigned size, pkcs5_pbe_gost_t&,
               std::string& ciphertext) override {
    ciphertext.assign(size, 'x');
    return answer();
  }
};

// The first block when the second fails, then both.
TEST(Wipe, TheWatcherSees) {
  EXPECT_EQ(run_failing([] { std::list<std::string> copies(2, secret); }), 3u);
}

// A key, SafeContents with a key, and the same with a fault.
TEST(Wipe, ReadPlaintexts) {
  const std::string bag = der(0x30, file.sample("kbag") + der(0xA0, secrets(9)));
  const std::string contents = der(4, der(0x30, bag)), fault = der(4, der(0x30, bag + "!"));
  for (const char* sample : {"calls", "sealed"}) {
    for (const std::string& plaintext : {std::string(), secrets(9), contents, fault}) {
      for (const answer_t answer : {yes, no, thrown}) {
        const std::string in = file.sample(sample);
        fake_crypto_t crypto(answer, plaintext);
        const auto read = [&] {
          pkcs12_easy_t filled, other;
          asn_read_pkcs12_easy(view(in).data, view(in).size, &crypto, filled);
          asn_read_pkcs12_easy(view(in).data, view(in).size, &crypto, other);
          filled = std::move(other);
          const pkcs12_easy_t moved(std::move(filled));
        };
        const long before = watch.live;
        EXPECT_EQ(run_failing(read), 0u) << sample << ' ' << to_hex(plaintext) << ' ' << answer;
        EXPECT_EQ(watch.live, before);
      }
    }
  }
}

// What the library writes is the caller's, and is kept until the watch is over. Bags are plain or
// encrypted, the MAC of a usual size or a large one; with plain bags compute_mac throws, with
// encrypted ones encrypt.
TEST(Wipe, Writes) {
  const std::string small = secrets(2), large = secrets(9000);
  std::list<pkcs12_bag_t> bags;
  std::list<std::string> outs;
  for (const std::string* octets : {&small, &large, &small, &large}) {
    for (const unsigned type : {PKCS12_BAG_KEY, PKCS12_BAG_CERT}) {
      bags.push_back({type, view(*octets), view(*octets), view(*octets)});
    }
    const auto write = [&] {
      asn_write_pkcs8_pki_gost({PKCS8_GOST_2001, view(*octets)}, outs.emplace_back());
    };
    EXPECT_EQ(run_failing(write), 0u);
  }
  for (const auto list : {&pkcs12_easy_t::plain_bags, &pkcs12_easy_t::encrypted_bags}) {
    pkcs12_easy_t model;
    model.*list = bags;
    for (const std::string& mac : {std::string(32, 'm'), std::string(2000, 'm')}) {
      for (const answer_t answer : {thrown, no, yes}) {
        fake_crypto_t crypto(answer, mac);
        const std::string old = mac.size() == 32 ? "old" : "";  // which is written in place
        const auto write = [&] { asn_write_pkcs12_easy(model, &crypto, outs.emplace_back(old)); };
        EXPECT_EQ(run_failing(write), 0u) << mac.size() << ' ' << answer;
        EXPECT_EQ(outs.back() == old, answer == thrown);
      }
    }
  }
}

}  // namespace
