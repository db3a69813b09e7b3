// PKCS#12 containers (RFC 7292) through a simple model: two lists of bags, each a private key or a
// certificate, and the MAC.
//
// The library does no cryptography. The caller derives a class from pbe_crypto_t that verifies and
// computes the MAC, decrypts and encrypts, and holds the password. asn_read_pkcs12_easy and
// asn_write_pkcs12_easy call that object on the caller's thread before they return, and keep no
// pointer to it. They may run on any number of threads at once, each over its own model and object.

#ifndef PKIDER_PKCS12_HELPER_H
#define PKIDER_PKCS12_HELPER_H

#include <list>
#include <string>

#include "asn_reader.h"
#include "pkcs8_helper.h"
#include "pkider_api.h"

// The MacData of a container.
struct pkcs12_mac_t {
  blob_t digest_alg;  // content of the digest's AlgorithmIdentifier; not examined
  blob_t digest;      // the MAC
  blob_t mac_salt;
  unsigned mac_iterations = 0;  // 1 after reading when absent
};

// asn_read_pkcs12_MacData reads the *content* of a MacData SEQUENCE: `der` begins with the
// DigestInfo. The fields become views into it.
//
// Returns false when an element is missing or malformed, or asn_read_INTEGER (asn_reader.h) refuses
// the iteration count, with FFFFFFFF as limit; fields read before the fault keep their new views
// and the others what they held.
PKIDER_API bool asn_read_pkcs12_MacData(const unsigned char* der, unsigned len, pkcs12_mac_t& out);

// Kinds of bag.
constexpr unsigned PKCS12_BAG_KEY = 0;
constexpr unsigned PKCS12_BAG_CERT = 1;

// One bag. For writing, the views may show any bytes that live until the write returns.
struct pkcs12_bag_t {
  unsigned type = PKCS12_BAG_KEY;
  blob_t value;          // the complete DER of a PKCS#8 PrivateKeyInfo or of an X.509 certificate
  blob_t friendly_name;  // UTF-16, big-endian; empty when absent
  blob_t local_key_id;   // empty when absent
};

// A container. Views of a model that was read point into the input and into `decrypted_data`: it is
// valid while both live. Moving a model leaves its nodes, and so all its views, in place.
struct pkcs12_easy_t {
  std::list<pkcs12_bag_t> plain_bags;      // of the SafeContents that are not encrypted
  std::list<pkcs12_bag_t> encrypted_bags;  // of the encrypted ones, and every shrouded key
  pkcs12_mac_t mac;                        // as read; for writing, the fallback
  std::list<std::string> decrypted_data;   // the plaintexts that bags point into

  PKIDER_API pkcs12_easy_t();
  // Wipes decrypted_data before its memory is given back.
  PKIDER_API ~pkcs12_easy_t();
  PKIDER_API pkcs12_easy_t(pkcs12_easy_t&& other) noexcept;
  PKIDER_API pkcs12_easy_t& operator=(pkcs12_easy_t&& other) noexcept;
  pkcs12_easy_t(const pkcs12_easy_t&) = delete;
  pkcs12_easy_t& operator=(const pkcs12_easy_t&) = delete;
};

// The caller's cryptography. The library calls these four operations and nothing else, and never
// destroys the object. What the object throws passes through the library unchanged.
//
// The bytes that verify_mac and compute_mac are given are a complete OCTET STRING element, tag and
// length included, whose content is the AuthenticatedSafe; RFC 7292 computes the MAC over that
// content. verify_mac may get further bytes after that element, which the MAC does not cover. It is
// called before anything inside the container is checked: where there is no such element, it is
// given whatever is there, of any size, and the read fails afterwards.
class pbe_crypto_t {
 public:
  // Tells whether `mac` is right for `data`. Called once per read, before any bag is parsed.
  virtual bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) = 0;

  // Sets `mac` (digest, mac_salt and mac_iterations; its views arrive empty) and returns true; or
  // returns false, and the model's own `mac` is written instead. Called once per write.
  virtual bool compute_mac(const unsigned char* data, unsigned size, pkcs12_mac_t& mac) = 0;

  // Decrypts `data` into `plaintext`, which arrives empty, and returns true; or returns false, and
  // that key or SafeContents is left out of the model. Called once for each encrypted part whose
  // parameters asn_read_pkcs5_pbe_gost reads. The plaintext of a SafeContents must be the complete
  // OCTET STRING element around it; that of a shrouded key is its PrivateKeyInfo, which becomes the
  // bag's value whatever it is.
  virtual bool decrypt(const pkcs5_pbe_gost_t& pbe, const unsigned char* data, unsigned size,
                       std::string& plaintext) = 0;

  // Encrypts `data`, a complete OCTET STRING element around a SafeContents, into `ciphertext`, and
  // sets `pbe` to the parameters it chose. Both arrive empty; both are written whatever it returns.
  // Called once per write when there are encrypted bags.
  virtual bool encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
                       std::string& ciphertext) = 0;

  // The views that compute_mac and encrypt set must stay valid until asn_write_pkcs12_easy returns.

  virtual ~pbe_crypto_t() = default;
};

// asn_read_pkcs12_easy reads the PFX at `der` into `out`: it appends to the lists and replaces
// `out.mac`. `crypto` must not be null.
//
// Keys and certificates are kept. Other kinds of bag and of ContentInfo are skipped, and so is
// every encrypted part that has another scheme than PBES2-GOST, or that `crypto` does not decrypt.
// Shrouded keys become plain keys of `encrypted_bags`.
//
// An encrypted part whose PRF has no parameters counts as one of another scheme: the result is
// true, `decrypt` is not called for it, and nothing of it is in the model. Whoever expects a key
// and finds none should try examples/prf_parameters.cpp.
//
// Returns false when the structure is malformed, the outer content is not of type data, there is no
// MacData, or `crypto` refuses the MAC. There is no roll-back: `out` may then hold bags whose
// views are dangling, and the only thing to do with it is to destroy it. The same holds where
// `crypto` throws. Plaintexts that are not kept are wiped.
PKIDER_API bool asn_read_pkcs12_easy(const unsigned char* der, unsigned len, pbe_crypto_t* crypto,
                                     pkcs12_easy_t& out);

// asn_write_pkcs12_easy replaces `out` with the PFX of a model: the plain bags in a data
// ContentInfo, the encrypted ones in one encryptedData ContentInfo (neither is written without
// bags), and the MacData. The model's views may show `out` itself. An empty `out` is written in
// place: one that was cleared and has the room spares an allocation of the container's size.
//
// Nothing is checked. A bag whose type is neither key nor certificate is written with its
// attributes only. Iteration counts are written by asn_write_INTEGER, which drops zero bytes:
// choose counts without. `crypto` must not be null. Throws std::bad_alloc and what `crypto` throws,
// and then leaves `out` as it was; in every case the plaintext built on the way is wiped.
PKIDER_API void asn_write_pkcs12_easy(const pkcs12_easy_t& in, pbe_crypto_t* crypto,
                                      std::string& out);

#endif
