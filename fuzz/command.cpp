// The command's readers of files. Pieces of the input become certificates, in a file of PEM blocks,
// DER, PKCS#7 bundles and noise, and in a container: all come out byte for byte, in their order.
// The input itself is such a file, too.

#include <sys/mman.h>
#include <unistd.h>

#include <iostream>

#include "ber.h"
#include "bytes.h"
#include "certificate.h"
#include "container.h"
#include "extensions.h"
#include "gost_pbe.h"
#include "key_id.h"
#include "messages.h"
#include "model.h"
#include "output_file.h"
#include "public_key.h"

namespace {

using texts_t = std::vector<std::string>;

// ---- What the command reads ----

void look_at(const certificate_t& certificate) {
  record_t record;
  attempt([&] { add_public_key(record, "", certificate.public_key, true); });
  attempt([&] { add_extensions(record, "", certificate.extensions); });
  id_of_public_key(certificate.public_key);
  attempt([&] { dn_text("", "subject", certificate.subject); });
}

void look_at_key(const blob_t& der) {
  private_key_t key;
  if (read_private_key(der, key)) {
    key_bits(key);
    public_id_of(key);
  }
}

std::string in_file(const std::string& content) {
  static const int file = memfd_create("input", 0);
  const auto size = static_cast<ssize_t>(content.size());
  law(ftruncate(file, 0) == 0 && pwrite(file, content.data(), content.size(), 0) == size);
  return "/proc/self/fd/" + std::to_string(file);
}

texts_t certificates_in(const std::string& content) {
  texts_t found;
  attempt([&] {
    for_each_certificate(in_file(content), [&](const std::string&, const certificate_t& each) {
      found.push_back(to_string(each.whole));
      look_at(each);
    });
  });
  return found;
}

const std::string password = "pkider-sample";  // of quick.p12 in the corpus

// The certificates in a container; `authentic` is whether its MAC is right.
texts_t open_container(const std::string& content, bool& authentic) {
  texts_t found;
  authentic = false;
  attempt([&] {
    const secret_t secret(password.begin(), password.end());
    deriver_t deriver(100);
    container_t container;
    split_container("", content, container);
    admit_container("", container, deriver);
    attempt([&] {
      check_mac("", container, secret, deriver);
      authentic = true;
    });
    for (const opened_bag_t& each : open_bags("", container, secret, deriver)) {
      if (each.bag != nullptr && each.bag->type == PKCS12_BAG_CERT) {
        found.push_back(to_string(each.bag->value));
      } else if (each.bag != nullptr) {
        look_at_key(each.bag->value);
      }
    }
  });
  return found;
}

// ---- Files made here ----

std::string make_certificate(model::pieces_t& pieces) {
  const std::string empty = der(0x30, ""), serial = der(2, pieces.piece()),
                    key = der(0x30, pieces.piece()), extensions = der(0x30, pieces.piece());
  return der(0x30, der(0x30, der(0xA0, der(2, "\2")) + serial + empty + empty + empty + empty +
                                 key + der(0xA3, extensions)) +
                       empty + der(3, '\0' + pieces.piece()));
}

// A certificate, or a bundle of some, or a key, which is to be passed over.
std::string make_object(model::pieces_t& pieces, texts_t& certificates) {
  const unsigned kind = pieces.number() % 4;
  if (kind == 0) {
    return der(0x30, der(2, std::string(1, '\0')) + der(0x30, "") + der(4, pieces.piece()));
  }
  std::string all;
  for (unsigned i = 0; i < kind; ++i) {
    all += certificates.emplace_back(make_certificate(pieces));
  }
  return kind == 1 ? all
                   : der(0x30, from_hex("06(2A864886F70D010702)") +
                                   der(0xA0, der(0x30, der(2, "\1") + der(0x31, "") +
                                                           der(0x30, "") + der(0xA0, all))));
}

// DER, or a PEM block after noise that is neither.
std::string make_block(const std::string& object, model::pieces_t& pieces) {
  if (pieces.number() % 4 == 0) {
    return object;
  }
  std::string noise = pieces.piece();
  std::replace_if(
      noise.begin(), noise.end(), [](char c) { return c == '0' || c == '-'; }, '\n');
  return noise + to_pem("LABEL", view(object));
}

// Constructed elements with indefinite lengths, OCTET STRINGs in two pieces.
std::string to_ber(std::string_view elements) {
  std::string ber;
  while (!elements.empty()) {
    unsigned length = 0;
    const blob_t all = view(elements);
    const unsigned char* const at = asn1_read_tag(asn_tag_t::ANY, all.data, all.size, &length);
    const std::string tag(elements.substr(0, 1)), octets = bytes_of(blob_t{length, at});
    const std::size_t half = octets.size() / 2;
    const auto size = static_cast<std::size_t>(at + length - all.data);
    const std::string end(2, '\0');
    ber += (*tag.data() & 0x20) != 0 ? tag + '\x80' + to_ber(octets) + end
           : tag == "\4"
               ? "\x24\x80" + der(4, octets.substr(0, half)) + der(4, octets.substr(half)) + end
               : std::string(elements.substr(0, size));
    elements.remove_prefix(size);
  }
  return ber;
}

// The first `plain` certificates are not encrypted. With any bit changed, what has the right MAC is
// the same.
void check_container(const texts_t& certificates, unsigned plain, bool native, unsigned bit) {
  pkcs12_easy_t model;
  for (const std::string& certificate : certificates) {
    const bool encrypted = model.plain_bags.size() == plain;
    auto& bags = encrypted ? model.encrypted_bags : model.plain_bags;
    bags.push_back({PKCS12_BAG_CERT, view(certificate), view(password), {}});
  }
  deriver_t deriver(100);
  gost_pbe_t crypto(secret_t(password.begin(), password.end()), deriver, {1, native});
  std::string container, again;
  asn_write_pkcs12_easy(model, &crypto, container);
  bool authentic = false;
  const std::string ber = to_ber(container);
  law(ber_to_der(view(ber), again) && again == container);
  law(open_container(ber, authentic) == certificates && authentic);
  char& changed = container[bit / 8 % container.size()];
  changed = static_cast<char>(changed ^ 1 << bit % 8);
  law(open_container(container, authentic) == certificates || !authentic);
}

}  // namespace

int harness_command(const std::uint8_t* data, std::size_t size) {
  static const bool ready = gcry_check_version(nullptr) != nullptr &&
                            gcry_control(GCRYCTL_DISABLE_SECMEM) == 0 &&
                            gcry_control(GCRYCTL_INITIALIZATION_FINISHED) == 0;
  law(ready);
  std::cerr.setstate(std::ios::failbit);  // messages are not looked at

  const std::string input(text_of(data, size));
  const texts_t found = certificates_in(input);
  std::string joined;
  for (const std::string& certificate : found) {
    joined += certificate;
  }
  law(found.empty() || certificates_in(joined) == found);
  bool authentic = false;
  open_container(input, authentic);
  look_at_key(view(input));
  std::string converted, again;
  law(!ber_to_der(view(input), converted) ||
      (ber_to_der(view(converted), again) && again == converted));

  model::pieces_t pieces(text_of(data, size));
  const unsigned form = pieces.number();
  texts_t certificates;
  std::string file;
  while (pieces.more()) {
    const std::string object = make_object(pieces, certificates);
    file += make_block(object, pieces);
  }
  law(file.empty() || certificates_in(file) == certificates);
  if (form % 4 == 0 && !certificates.empty()) {
    check_container(certificates, form / 8, form % 8 == 0, number_of(input));
  }
  return 0;
}
