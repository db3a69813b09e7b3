#include "asn_oidmap.h"

#include <gtest/gtest.h>

#include <sstream>

#include "asn_oidmap_i.h"
#include "test_util.h"

namespace {

static_assert(sizeof(void*) != 4 || sizeof(OIDdescr_t) == 32);
using case_t = std::pair<const char*, const char*>;

const char* text_of(const exact_t& key) {
  return reinterpret_cast<const char*>(key.data());
}

std::string encode(const std::string& text) {
  const exact_t input(text);
  unsigned char out[512];
  const unsigned size = oid_str_to_asn_(text_of(input), text_of(input) + input.size(), out);
  return std::string(out, out + size);
}

// The text of the content octets, after a '!' when they are refused.
std::string decode(const std::string& content) {
  const exact_t input(content);
  std::string text = "=";
  const bool ok = oid_asn_to_str_(input.data(), input.data() + input.size(), text);
  return (ok ? "" : "!") + text;
}

TEST(OidCodec, Cases) {
  for (const auto& row : data_rows(TEST_DATA "oids.txt")) {
    const bool encodes = row.at(0) == "encode";
    const std::string got = encodes ? to_hex(encode(row.at(1))) : decode(from_hex(row.at(1)));
    EXPECT_EQ(got.empty() ? "!" : got, row.at(2)) << row[0] << ": " << row[1];
  }
}

TEST(OidCodec, AtMost506Octets) {
  std::string arcs;
  for (int i = 0; i < 101; ++i) {
    arcs += ".4294967295";
  }
  EXPECT_EQ(encode("1.2" + arcs).size(), 506u);
  EXPECT_EQ(encode("1.2.1" + arcs), "");
  EXPECT_EQ(encode("1.2" + arcs + ".1"), "");
}

TEST(OidCodec, RoundTripsAtEveryGroupBoundary) {
  for (const char* start : {"0.0", "0.39", "1.0", "1.39", "2.0"}) {
    std::string dotted = start;
    for (unsigned bits = 1; bits <= 32; ++bits) {
      dotted +=
          "." + std::to_string(0xFFFFFFFF >> (32 - bits)) + "." + std::to_string(1u << (bits - 1));
      ASSERT_EQ(to_hex(encode(dotted)), to_hex(oid_der(dotted)));
      ASSERT_EQ(decode(encode(dotted)), "=" + dotted);
    }
  }
}

// An entry as "dotted|SHORT|long", "-" for none. All its strings are in one block.
std::string show(const OIDdescr_t* e) {
  if (e == nullptr) {
    return "-";
  }
  EXPECT_EQ(std::string(e->oid_asn, e->oid_asn + e->oid_asn_size), encode(e->oid_str));
  EXPECT_EQ(e->oid_str, reinterpret_cast<const char*>(e->oid_asn + e->oid_asn_size));
  EXPECT_EQ(e->oid_sn, e->oid_str + e->oid_str_size + 1);
  EXPECT_EQ(e->oid_ln, e->oid_sn + e->oid_sn_size + 1);
  EXPECT_EQ(e->oid_ln[e->oid_ln_size], 0);
  return std::string(e->oid_str) + "|" + e->oid_sn + "|" + e->oid_ln;
}

std::string by_asn(oid_map_handle_t map, const std::string& dotted) {
  const exact_t key(oid_der(dotted));
  return show(oid_map_find_asn(map, key.data(), key.size()));
}
std::string by_str(oid_map_handle_t map, const std::string& dotted) {
  const exact_t key(dotted);
  return show(oid_map_find_str(map, text_of(key), key.size()));
}
std::string by_sn(oid_map_handle_t map, const std::string& name) {
  const exact_t key(name);
  return show(oid_map_find_sn(map, text_of(key), key.size()));
}

struct map_t {
  explicit map_t(const exact_t& text) : handle(oid_map_parse(text_of(text), text.size())) {}
  ~map_t() { oid_map_release(handle); }
  oid_map_handle_t handle;
};

TEST(OidMap, LineSyntax) {
  const case_t cases[] = {
      // a text, and its entry for 1.2.3
      {"1.2.3=x", "1.2.3|X|"},
      {"1.2.3 = x y, z", "1.2.3|X|"},
      {"1.2.3 = A, long name  ", "1.2.3|A|long name  "},
      {"\r\n\n \t1.2.3\t=\tab1z{\t,\t a = b, c\t\rjunk", "1.2.3|AB1Z{|a = b, c\t"},
      {"1.2.3=", "1.2.3||"},
      {"1.2.3 = , l", "1.2.3||l"},
      {"1.2.3 = a=b, l", "1.2.3|A|"},
      {"1.2.3 =\n = a, l", "1.2.3||"},
      {"x 1.2.3 = a\n1.2.3 = b", "1.2.3|B|"}};
  for (const auto& [text, entry] : cases) {
    const map_t map{exact_t(text)};
    EXPECT_EQ(by_asn(map.handle, "1.2.3"), entry) << text;
    EXPECT_EQ(by_str(map.handle, "1.2.3"), entry) << text;
  }
  for (const char* text : {"# 1.2.3 = a", "= a, b", "3.2.3 = a", "1.2.3", "1.2.3 a", "1.2.3 \n = a",
                           "1.2.3. = a", "", "\n"}) {
    EXPECT_TRUE(map_t{exact_t(text)}.handle->entries.empty()) << text;
  }
  oid_map_release(nullptr);
}

TEST(OidMap, FirstEntryOfEachKeyWins) {
  const map_t map(exact_t("1.2.3 = a, 1\n1.2.03 = a, 2\n1.2.3 = b, 3\n1.2.4 = B, 4\n"));
  EXPECT_EQ(by_asn(map.handle, "1.2.3"), "1.2.3|A|1");
  EXPECT_EQ(by_str(map.handle, "1.2.03"), "1.2.03|A|2");
  EXPECT_EQ(by_sn(map.handle, "A"), "1.2.3|A|1");
  EXPECT_EQ(by_sn(map.handle, "b"), "1.2.3|B|3");
  EXPECT_EQ(by_asn(map.handle, "1.2.4"), "1.2.4|B|4");
  EXPECT_EQ(map.handle->entries.size(), 4u);
}

// Keys that share beginnings, up to 400 bytes long, among many, and all of them once more: each
// finds its own first entry and no other.
TEST(OidMap, FindsEachOfMany) {
  std::vector<std::pair<std::string, std::string>> keys;
  std::string arcs, text, again;
  for (unsigned i = 0; i < 1400; ++i) {
    arcs += i % 7 == 0 ? ".200" : "";
    const char tail = static_cast<char>('0' + i % 7);
    keys.emplace_back("1.3" + arcs + "." + tail, std::string(i / 7, 'X') + "Y" + tail);
    text += keys.back().first + "=" + std::string(i / 7, 'x') + "y" + tail + "\n";
    again += keys.back().first + "=" + keys.back().second + ", later\n";
  }
  const map_t map{exact_t(text + again)};
  for (const auto& [dotted, name] : keys) {
    const std::string entry = dotted + "|" + name + "|";
    ASSERT_EQ(by_asn(map.handle, dotted), entry);
    ASSERT_EQ(by_str(map.handle, dotted), entry);
    ASSERT_EQ(by_sn(map.handle, name), entry);
    ASSERT_EQ(by_asn(map.handle, dotted + ".1"), "-");
    ASSERT_EQ(by_sn(map.handle, name + "0"), "-");
  }
}

TEST(OidMap, BuiltIn) {
  std::istringstream entries(
      "2.5.4.3|CN|commonName 2.5.4.4|SN|surName 2.5.4.6|C|countryName 2.5.4.7|L|localityName "
      "2.5.4.8|ST|stateName 2.5.4.9|STREET|streetAddress 2.5.4.10|O|organizationName "
      "2.5.4.11|OU|organizationalUnitName 2.5.4.12|T|title 2.5.4.20|TEL|telephoneNumber "
      "2.5.4.23|FAX|facsimileNumber 2.5.4.41|NQ|nameQualifier 2.5.4.42|GN|givenName "
      "2.5.4.43|I|initials 2.5.4.44|GQ|generationQualifier 2.5.4.46|DNQ|dnQualifier "
      "2.5.4.65|PS|pseudonym 0.9.2342.19200300.100.1.1|UID|uid "
      "0.9.2342.19200300.100.1.3|MBOX|rfc822Mailbox "
      "0.9.2342.19200300.100.1.25|DC|domainComponent 1.2.840.113549.1.9.1|E|emailAddress "
      "1.3.6.1.4.1.42.2.11.2.1|SUNIP|ipAddress");
  for (std::string entry; entries >> entry;) {
    const std::size_t bar = entry.find('|');
    std::string name = entry.substr(bar + 1, entry.rfind('|') - bar - 1);
    for (char& c : name) {
      c = static_cast<char>(std::tolower(c));
    }
    for (const oid_map_handle_t map : {OID_MAP_HANDLE_DEFAULT, OID_MAP_HANDLE_DEFAULT_FILE}) {
      EXPECT_EQ(by_asn(map, entry.substr(0, bar)), entry);
      EXPECT_EQ(by_str(map, entry.substr(0, bar)), entry);
      EXPECT_EQ(by_sn(map, name), entry);
    }
  }
  EXPECT_EQ(by_sn(OID_MAP_HANDLE_DEFAULT, "s"), "2.5.4.8|S|stateName");
  EXPECT_EQ(OID_MAP_HANDLE_DEFAULT->entries.size(), 23u);
  EXPECT_EQ(by_str(OID_MAP_HANDLE_DEFAULT, "2.5.4.03"), "-");
}

}  // namespace
