// The parts of a container, appended to an element under construction. They are the expressions
// that asn_write_pkcs12_easy is made of. Where it needs no builder it uses these directly: a part
// that was built before would be copied once more.

#ifndef PKIDER_SRC_PKCS12_WRITER_H
#define PKIDER_SRC_PKCS12_WRITER_H

#include <list>

#include <pkider/asn_tag.h>
#include <pkider/pkcs12_helper.h>

// Appends the ContentInfo of `type` around `content`.
void asn_write_pkcs7_ContentInfo(const unsigned char (&type)[9], const asn_tag_t_<0>& content,
                                 asn_tag_t_<0>& out);

// Appends the SafeBag of `bag`.
void asn_write_pkcs12_bag(const pkcs12_bag_t& bag, asn_tag_t_<0>& out);

// Appends the SafeContents of `bags`.
void asn_write_pkcs12_bags(const std::list<pkcs12_bag_t>& bags, asn_tag_t_<0>& out);

#endif
