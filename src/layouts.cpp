// The layouts that 32-bit programs were compiled against, checked by every 32-bit build of the
// library.
#include <cstddef>

#include <pkider/asn_helper.h>
#include <pkider/asn_oidmap.h>
#include <pkider/asn_tag.h>
#include <pkider/pkcs12_helper.h>

#include "dn_splitter.h"

template <class T>
extern T object;  // never defined

// Tells whether these members stand in this order, each at the next multiple of four, and fill T.
template <class T, class... Members>
static constexpr bool laid_out(Members T::*... members) {
  const void* const at[] = {&(object<T>.*members)..., &object<T> + 1};
  bool in_order = true;
  for (std::size_t i = 0; i < sizeof...(members); ++i) {
    in_order = in_order && at[i] < at[i + 1];
  }
  return in_order && (((sizeof(Members) + 3) / 4) + ...) * 4 == sizeof(T);
}

static_assert(laid_out(&blob_t::size, &blob_t::data));
static_assert(laid_out(&asn_iter_t::ptr, &asn_iter_t::len));
static_assert(laid_out(&asn_tag_fields_t_<0>::tag, &asn_tag_fields_t_<0>::size,
                       &asn_tag_fields_t_<0>::buf, &asn_tag_fields_t_<0>::capacity,
                       &asn_tag_fields_t_<0>::len));
static_assert(laid_out(&asn_tag_fields_t_<16>::tag, &asn_tag_fields_t_<16>::size,
                       &asn_tag_fields_t_<16>::buf, &asn_tag_fields_t_<16>::capacity,
                       &asn_tag_fields_t_<16>::len, &asn_tag_fields_t_<16>::inline_buf));
static_assert(laid_out(&OIDdescr_t::oid_asn, &OIDdescr_t::oid_asn_size, &OIDdescr_t::oid_str,
                       &OIDdescr_t::oid_str_size, &OIDdescr_t::oid_sn, &OIDdescr_t::oid_sn_size,
                       &OIDdescr_t::oid_ln, &OIDdescr_t::oid_ln_size));
static_assert(laid_out(&RDNdescr_t::name_begin, &RDNdescr_t::name_end, &RDNdescr_t::value_begin,
                       &RDNdescr_t::value_end, &RDNdescr_t::plus_joined));
static_assert(laid_out(&pki_oid_ref_t::data, &pki_oid_ref_t::size));
static_assert(laid_out(&IntToString::value, &IntToString::name));
static_assert(laid_out(&asn_algorid_t::oid));
static_assert(laid_out(&asn_pubkey_t::alg, &asn_pubkey_t::params, &asn_pubkey_t::key));
static_assert(laid_out(&asn_rsa_pubkey_t::modulus, &asn_rsa_pubkey_t::exponent));
static_assert(laid_out(&asn_gost_pubkey_t::public_key_param_set,
                       &asn_gost_pubkey_t::digest_param_set,
                       &asn_gost_pubkey_t::encryption_param_set, &asn_gost_pubkey_t::key));
static_assert(laid_out(&asn_dsa_certsign_t::r, &asn_dsa_certsign_t::s));
static_assert(laid_out(&asn_ike_signalg_t::oid, &asn_ike_signalg_t::params));
static_assert(laid_out(&pkcs5_pbe_gost_t::salt, &pkcs5_pbe_gost_t::iterations,
                       &pkcs5_pbe_gost_t::iv));
static_assert(laid_out(&asn_pkcs8_priv_key_info_t::algorithm,
                       &asn_pkcs8_priv_key_info_t::private_key));
static_assert(laid_out(&pkcs8_pki_gost_t::key_alg, &pkcs8_pki_gost_t::private_key));
static_assert(laid_out(&pkcs8_encrypted_pki_gost_t::pbe,
                       &pkcs8_encrypted_pki_gost_t::encrypted_data));
static_assert(laid_out(&pkcs12_mac_t::digest_alg, &pkcs12_mac_t::digest, &pkcs12_mac_t::mac_salt,
                       &pkcs12_mac_t::mac_iterations));
static_assert(laid_out(&pkcs12_bag_t::type, &pkcs12_bag_t::value, &pkcs12_bag_t::friendly_name,
                       &pkcs12_bag_t::local_key_id));
static_assert(laid_out(&pkcs12_easy_t::plain_bags, &pkcs12_easy_t::encrypted_bags,
                       &pkcs12_easy_t::mac, &pkcs12_easy_t::decrypted_data));
static_assert(sizeof(asn_tag_t_<0>) == 20 && sizeof(asn_tag_t_<16>) == 36);
