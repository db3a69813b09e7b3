// Watches the memory that the library gives back: no block may still hold key material. The same
// hooks measure what a write allocates, and let each allocation fail in turn.

#include <gtest/gtest.h>
#include <malloc.h>
#include <string.h>
#include <ucontext.h>

#include <cstdlib>
#include <functional>
#include <new>

#include "der_text.h"
#include "pkcs12_helper.h"

namespace {

constexpr char secret[] = "\x5E\xC2Rk3y\xA9#0815";  // fits a std::string without a block
constexpr std::size_t secret_size = sizeof(secret) - 1;

struct {
  bool armed = false;
  unsigned seen = 0;             // blocks given back with the secret in them
  std::size_t allocated = 0;     // bytes
  unsigned long failing = ~0ul;  // which allocation fails
  unsigned long allocations = 0;
} watch;

}  // namespace

// Not inlined: the compiler would take malloc and the operators for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  watch.allocated += size;
  const bool fails = watch.armed && watch.allocations++ == watch.failing;
  if (void* block = fails ? nullptr : std::malloc(size)) {
    return block;
  }
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
  const std::size_t size = malloc_usable_size(block);
  if (watch.armed && memmem(block, size, secret, secret_size) != nullptr) {
    ++watch.seen;
  }
  explicit_bzero(block, size);  // so that no later block shows what this one held
  std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}

namespace {

std::string secrets(unsigned count) {
  std::string out;
  while (count-- != 0) {
    out += secret;
  }
  return out;
}

// The number of blocks that `action` gave back unwiped: in one run, and in those in which each
// allocation fails in turn.
template <class Action>
unsigned unwiped(const Action& action) {
  unsigned seen = 0;
  for (unsigned long n = 0;; ++n) {
    watch = {true, 0, 0, n, 0};
    try {
      action();
    } catch (const std::exception&) {
    }
    watch.armed = false;
    seen += watch.seen;
    if (watch.allocations <= n) {
      return seen;
    }
  }
}

const std::function<void()>* on_stack;

// Runs `action`, which must not throw, on a stack of its own and tells whether key material was
// left there.
bool left_on_stack(const std::function<void()>& action) {
  std::string stack(1 << 18, '\0');
  ucontext_t here, there;
  getcontext(&there);
  there.uc_stack.ss_sp = stack.data();
  there.uc_stack.ss_size = stack.size();
  there.uc_link = &here;
  on_stack = &action;
  makecontext(
      &there, [] { (*on_stack)(); }, 0);
  swapcontext(&here, &there);
  return stack.find(secrets(2)) != std::string::npos;
}

enum class answer_t { yes, no, thrown };

// Decrypts to one text, of which it cuts off the end, and "encrypts" to as many 'x'.
class fake_crypto_t : public pbe_crypto_t {
 public:
  explicit fake_crypto_t(answer_t answer, const std::string& text = {}, std::size_t cut = 0)
      : answer_(answer), text_(text), cut_(cut) {}

  bool verify_mac(const pkcs12_mac_t&, const unsigned char*, unsigned) override { return true; }
  bool compute_mac(const unsigned char*, unsigned, pkcs12_mac_t&) override { return false; }
  bool decrypt(const pkcs5_pbe_gost_t&, const unsigned char*, unsigned,
               std::string& plaintext) override {
    plaintext.assign(text_);
    plaintext.resize(text_.size() - cut_);
    return answer();
  }
  bool encrypt(const unsigned char*, unsigned size, pkcs5_pbe_gost_t&,
               std::string& ciphertext) override {
    ciphertext.assign(size, 'x');
    return answer();
  }

 private:
  const answer_t answer_;
  const std::string text_;
  const std::size_t cut_;

  bool answer() const {
    return answer_ == answer_t::thrown ? throw std::exception() : answer_ == answer_t::yes;
  }
};

TEST(Wipe, TheWatcherSees) {
  const std::string text = secrets(9);
  EXPECT_EQ(unwiped([&] { std::string copy(text); }), 1u);
  EXPECT_EQ(unwiped([&] { std::list<std::string> copy(1, secret); }), 1u);
  EXPECT_TRUE(left_on_stack([&] {
    char copy[64];
    text.copy(copy, sizeof(copy));
    asm volatile("" : : "r"(copy) : "memory");
  }));
}

TEST(Wipe, ReadPlaintexts) {
  const rows_t file("pkcs12.txt");
  const exact_t key(der_text(file.text("lone"))), part(der_text(file.text("sealed")));
  const std::string bag = der(0x30, der_text(file.text("kbag")) + der(0xA0, secrets(9)));
  const struct {
    const char* name;
    const exact_t& in;
    std::string plaintext;
    std::size_t cut;
    answer_t answer;
  } cases[] = {
      {"short key", key, secrets(1), 0, answer_t::yes},
      {"long key", key, secrets(9), 0, answer_t::yes},
      {"long key cut short", key, secrets(9), 100, answer_t::yes},
      {"refused key", key, secrets(9), 0, answer_t::no},
      {"refused key, nothing left", key, secrets(9), 108, answer_t::no},
      {"key of an object that throws", key, secrets(9), 0, answer_t::thrown},
      {"SafeContents", part, der(4, der(0x30, bag)), 0, answer_t::yes},
      {"SafeContents with a fault", part, der(4, der(0x30, bag + "fault")), 0, answer_t::yes},
      {"no SafeContents", part, secrets(9), 0, answer_t::yes},
      {"refused SafeContents", part, secrets(9), 0, answer_t::no},
  };
  for (const auto& c : cases) {
    fake_crypto_t crypto(c.answer, c.plaintext, c.cut);
    const auto read_and_move = [&] {
      pkcs12_easy_t filled, other;
      asn_read_pkcs12_easy(c.in.data(), c.in.size(), &crypto, filled);
      asn_read_pkcs12_easy(c.in.data(), c.in.size(), &crypto, other);
      filled = std::move(other);
      const pkcs12_easy_t moved(std::move(filled));
    };
    EXPECT_EQ(unwiped(read_and_move), 0u) << c.name;
  }
}

// What the library writes is the caller's, and is kept until the watch is over.
TEST(Wipe, Writes) {
  const std::string small = secrets(2), large = secrets(9000), name(300, 'n');
  pkcs12_easy_t model;
  for (unsigned i = 0; i < 3; ++i) {
    model.encrypted_bags.push_back({PKCS12_BAG_KEY, view(small), {}, {}});
    model.encrypted_bags.push_back({PKCS12_BAG_KEY, view(large), view(name), {}});
  }
  std::list<std::string> outs;
  for (const std::string& key : {small, large}) {
    const auto write = [&] {
      asn_write_pkcs8_pki_gost({PKCS8_GOST_2001, view(key)}, outs.emplace_back());
    };
    EXPECT_EQ(unwiped(write), 0u);
    EXPECT_FALSE(left_on_stack(write));
  }
  for (const answer_t answer : {answer_t::thrown, answer_t::no}) {
    fake_crypto_t crypto(answer);
    const auto write = [&] { asn_write_pkcs12_easy(model, &crypto, outs.emplace_back("old")); };
    EXPECT_EQ(unwiped(write), 0u);
    EXPECT_EQ(outs.back() == "old", answer == answer_t::thrown);
    EXPECT_TRUE(answer == answer_t::thrown || !left_on_stack(write));
  }
}

TEST(Pkcs12, WritingCostsInProportion) {
  const std::string value(100, 'v');
  const auto allocated = [&](unsigned bags) {
    pkcs12_easy_t model;
    model.plain_bags.assign(bags, {PKCS12_BAG_CERT, view(value), view(value), view(value)});
    model.encrypted_bags = model.plain_bags;
    fake_crypto_t crypto(answer_t::yes);
    std::string out;
    watch.allocated = 0;
    asn_write_pkcs12_easy(model, &crypto, out);
    return watch.allocated;
  };
  EXPECT_LT(allocated(1000), allocated(100) * 20);
  EXPECT_LT(allocated(100), allocated(1) * 200);
}

}  // namespace
