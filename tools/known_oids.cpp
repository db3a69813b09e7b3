// The table of names, and OIDs of any length as text (X.690, 8.19).

#include "known_oids.h"

#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <pkider/asn_helper.h>
#include <pkider/asn_oidmap.h>

namespace {

struct known_oid_t {
  std::string_view dotted;
  std::string_view name;
};

constexpr known_oid_t known_oids[] = {
    // Keys
    {"1.2.840.10040.4.1", "DSA"},
    {"1.2.840.10045.2.1", "EC"},
    {"1.2.840.10046.2.1", "X9.42 DH"},
    {"1.2.840.113549.1.3.1", "PKCS#3 DH"},
    {"1.2.840.113549.1.1.7", "RSAES-OAEP"},
    {"1.2.840.113549.1.1.8", "MGF1"},
    {"1.3.101.110", "X25519"},
    {"1.3.101.111", "X448"},
    {"1.3.101.112", "Ed25519"},
    {"1.3.101.113", "Ed448"},
    // Curves: the names of NIST, SEC 2 and ANSI X9.62, the one that is shown first
    {"1.2.840.10045.3.1.1", "P-192"},
    {"1.2.840.10045.3.1.1", "secp192r1"},
    {"1.2.840.10045.3.1.1", "prime192v1"},
    {"1.2.840.10045.3.1.2", "prime192v2"},
    {"1.2.840.10045.3.1.3", "prime192v3"},
    {"1.2.840.10045.3.1.4", "prime239v1"},
    {"1.2.840.10045.3.1.5", "prime239v2"},
    {"1.2.840.10045.3.1.6", "prime239v3"},
    {"1.2.840.10045.3.1.7", "P-256"},
    {"1.2.840.10045.3.1.7", "secp256r1"},
    {"1.2.840.10045.3.1.7", "prime256v1"},
    {"1.3.132.0.33", "P-224"},
    {"1.3.132.0.33", "secp224r1"},
    {"1.3.132.0.34", "P-384"},
    {"1.3.132.0.34", "secp384r1"},
    {"1.3.132.0.35", "P-521"},
    {"1.3.132.0.35", "secp521r1"},
    {"1.3.132.0.6", "secp112r1"},
    {"1.3.132.0.7", "secp112r2"},
    {"1.3.132.0.28", "secp128r1"},
    {"1.3.132.0.29", "secp128r2"},
    {"1.3.132.0.9", "secp160k1"},
    {"1.3.132.0.8", "secp160r1"},
    {"1.3.132.0.30", "secp160r2"},
    {"1.3.132.0.31", "secp192k1"},
    {"1.3.132.0.32", "secp224k1"},
    {"1.3.132.0.10", "secp256k1"},
    {"1.3.132.0.4", "sect113r1"},
    {"1.3.132.0.5", "sect113r2"},
    {"1.3.132.0.22", "sect131r1"},
    {"1.3.132.0.23", "sect131r2"},
    {"1.3.132.0.1", "sect163k1"},
    {"1.3.132.0.1", "K-163"},
    {"1.3.132.0.2", "sect163r1"},
    {"1.3.132.0.15", "sect163r2"},
    {"1.3.132.0.15", "B-163"},
    {"1.3.132.0.24", "sect193r1"},
    {"1.3.132.0.25", "sect193r2"},
    {"1.3.132.0.26", "sect233k1"},
    {"1.3.132.0.26", "K-233"},
    {"1.3.132.0.27", "sect233r1"},
    {"1.3.132.0.27", "B-233"},
    {"1.3.132.0.3", "sect239k1"},
    {"1.3.132.0.16", "sect283k1"},
    {"1.3.132.0.16", "K-283"},
    {"1.3.132.0.17", "sect283r1"},
    {"1.3.132.0.17", "B-283"},
    {"1.3.132.0.36", "sect409k1"},
    {"1.3.132.0.36", "K-409"},
    {"1.3.132.0.37", "sect409r1"},
    {"1.3.132.0.37", "B-409"},
    {"1.3.132.0.38", "sect571k1"},
    {"1.3.132.0.38", "K-571"},
    {"1.3.132.0.39", "sect571r1"},
    {"1.3.132.0.39", "B-571"},
    {"1.3.36.3.3.2.8.1.1.1", "brainpoolP160r1"},
    {"1.3.36.3.3.2.8.1.1.2", "brainpoolP160t1"},
    {"1.3.36.3.3.2.8.1.1.3", "brainpoolP192r1"},
    {"1.3.36.3.3.2.8.1.1.4", "brainpoolP192t1"},
    {"1.3.36.3.3.2.8.1.1.5", "brainpoolP224r1"},
    {"1.3.36.3.3.2.8.1.1.6", "brainpoolP224t1"},
    {"1.3.36.3.3.2.8.1.1.7", "brainpoolP256r1"},
    {"1.3.36.3.3.2.8.1.1.8", "brainpoolP256t1"},
    {"1.3.36.3.3.2.8.1.1.9", "brainpoolP320r1"},
    {"1.3.36.3.3.2.8.1.1.10", "brainpoolP320t1"},
    {"1.3.36.3.3.2.8.1.1.11", "brainpoolP384r1"},
    {"1.3.36.3.3.2.8.1.1.12", "brainpoolP384t1"},
    {"1.3.36.3.3.2.8.1.1.13", "brainpoolP512r1"},
    {"1.3.36.3.3.2.8.1.1.14", "brainpoolP512t1"},
    {"1.2.156.10197.1.301", "SM2"},
    {"1.2.156.10197.1.301", "sm2p256v1"},
    // Digests, message authentication and signatures
    {"1.3.36.3.2.1", "RIPEMD160"},
    {"2.16.840.1.101.3.4.2.5", "SHA512/224"},
    {"2.16.840.1.101.3.4.2.6", "SHA512/256"},
    {"2.16.840.1.101.3.4.2.7", "SHA3-224"},
    {"2.16.840.1.101.3.4.2.8", "SHA3-256"},
    {"2.16.840.1.101.3.4.2.9", "SHA3-384"},
    {"2.16.840.1.101.3.4.2.10", "SHA3-512"},
    {"2.16.840.1.101.3.4.2.11", "SHAKE128"},
    {"2.16.840.1.101.3.4.2.12", "SHAKE256"},
    {"1.2.156.10197.1.401", "SM3"},
    {"1.2.840.113549.2.7", "HMAC-SHA1"},
    {"1.2.840.113549.2.8", "HMAC-SHA224"},
    {"1.2.840.113549.2.9", "HMAC-SHA256"},
    {"1.2.840.113549.2.10", "HMAC-SHA384"},
    {"1.2.840.113549.2.11", "HMAC-SHA512"},
    {"1.2.643.2.2.10", "HMAC-GOST R 34.11-94"},
    {"1.2.643.7.1.1.4.1", "HMAC-GOST R 34.11-2012 256"},
    {"1.2.643.7.1.1.4.2", "HMAC-GOST R 34.11-2012 512"},
    {"1.2.840.10045.4.1", "sha1ECDSA"},
    {"1.2.840.10045.4.3.1", "sha224ECDSA"},
    {"1.2.840.10045.4.3.2", "sha256ECDSA"},
    {"1.2.840.10045.4.3.3", "sha384ECDSA"},
    {"1.2.840.10045.4.3.4", "sha512ECDSA"},
    {"2.16.840.1.101.3.4.3.1", "sha224DSA"},
    {"2.16.840.1.101.3.4.3.2", "sha256DSA"},
    {"2.16.840.1.101.3.4.3.3", "sha384DSA"},
    {"2.16.840.1.101.3.4.3.4", "sha512DSA"},
    {"2.16.840.1.101.3.4.3.9", "sha3-224ECDSA"},
    {"2.16.840.1.101.3.4.3.10", "sha3-256ECDSA"},
    {"2.16.840.1.101.3.4.3.11", "sha3-384ECDSA"},
    {"2.16.840.1.101.3.4.3.12", "sha3-512ECDSA"},
    {"2.16.840.1.101.3.4.3.13", "sha3-224RSA"},
    {"2.16.840.1.101.3.4.3.14", "sha3-256RSA"},
    {"2.16.840.1.101.3.4.3.15", "sha3-384RSA"},
    {"2.16.840.1.101.3.4.3.16", "sha3-512RSA"},
    {"1.2.156.10197.1.501", "SM3SM2"},
    // Ciphers and password-based encryption
    {"1.2.840.113549.1.5.12", "PBKDF2"},
    {"1.2.840.113549.1.5.13", "PBES2"},
    {"1.2.840.113549.1.5.14", "PBMAC1"},
    {"1.3.6.1.4.1.11591.4.11", "scrypt"},
    {"1.2.840.113549.1.5.1", "pbeWithMD2AndDES-CBC"},
    {"1.2.840.113549.1.5.3", "pbeWithMD5AndDES-CBC"},
    {"1.2.840.113549.1.5.4", "pbeWithMD2AndRC2-CBC"},
    {"1.2.840.113549.1.5.6", "pbeWithMD5AndRC2-CBC"},
    {"1.2.840.113549.1.5.10", "pbeWithSHA1AndDES-CBC"},
    {"1.2.840.113549.1.5.11", "pbeWithSHA1AndRC2-CBC"},
    {"1.2.840.113549.1.12.1.1", "pbeWithSHA1And128BitRC4"},
    {"1.2.840.113549.1.12.1.2", "pbeWithSHA1And40BitRC4"},
    {"1.2.840.113549.1.12.1.3", "pbeWithSHA1And3-KeyTripleDES-CBC"},
    {"1.2.840.113549.1.12.1.4", "pbeWithSHA1And2-KeyTripleDES-CBC"},
    {"1.2.840.113549.1.12.1.5", "pbeWithSHA1And128BitRC2-CBC"},
    {"1.2.840.113549.1.12.1.6", "pbeWithSHA1And40BitRC2-CBC"},
    {"2.16.840.1.101.3.4.1.2", "AES-128-CBC"},
    {"2.16.840.1.101.3.4.1.6", "AES-128-GCM"},
    {"2.16.840.1.101.3.4.1.22", "AES-192-CBC"},
    {"2.16.840.1.101.3.4.1.26", "AES-192-GCM"},
    {"2.16.840.1.101.3.4.1.42", "AES-256-CBC"},
    {"2.16.840.1.101.3.4.1.46", "AES-256-GCM"},
    {"2.16.840.1.101.3.4.1.3", "AES-128-OFB"},
    {"2.16.840.1.101.3.4.1.23", "AES-192-OFB"},
    {"2.16.840.1.101.3.4.1.43", "AES-256-OFB"},
    {"2.16.840.1.101.3.4.1.4", "AES-128-CFB"},
    {"2.16.840.1.101.3.4.1.24", "AES-192-CFB"},
    {"2.16.840.1.101.3.4.1.44", "AES-256-CFB"},
    {"2.16.840.1.101.3.4.1.5", "AES-128 key wrap"},
    {"2.16.840.1.101.3.4.1.45", "AES-256 key wrap"},
    {"1.2.840.113549.3.2", "RC2-CBC"},
    {"1.2.840.113549.3.4", "RC4"},
    {"1.2.840.113549.3.7", "3DES-CBC"},
    {"1.3.14.3.2.7", "DES-CBC"},
    {"1.2.392.200011.61.1.1.1.2", "Camellia-128-CBC"},
    {"1.2.392.200011.61.1.1.1.3", "Camellia-192-CBC"},
    {"1.2.392.200011.61.1.1.1.4", "Camellia-256-CBC"},
    {"1.2.410.200046.1.1.2", "ARIA-128-CBC"},
    {"1.2.410.200046.1.1.7", "ARIA-192-CBC"},
    {"1.2.410.200046.1.1.12", "ARIA-256-CBC"},
    {"1.2.410.200004.1.4", "SEED-CBC"},
    {"1.2.156.10197.1.104.2", "SM4-CBC"},
    {"1.2.840.113533.7.66.10", "CAST5-CBC"},
    {"1.3.6.1.4.1.3029.1.2", "Blowfish-CBC"},
    {"1.3.6.1.4.1.188.7.1.1.2", "IDEA-CBC"},
    {"1.2.643.2.2.21", "GOST 28147-89"},
    {"1.2.643.7.1.1.5.1.1", "Magma CTR-ACPKM"},
    {"1.2.643.7.1.1.5.1.2", "Magma CTR-ACPKM-OMAC"},
    {"1.2.643.7.1.1.5.2.1", "Kuznyechik CTR-ACPKM"},
    {"1.2.643.7.1.1.5.2.2", "Kuznyechik CTR-ACPKM-OMAC"},
    {"1.2.643.7.1.1.7.1.1", "Magma KExp15"},
    {"1.2.643.7.1.1.7.2.1", "Kuznyechik KExp15"},
    {"1.2.643.7.1.1.6.1", "GOST R 34.10-2012 256 key agreement"},
    {"1.2.643.7.1.1.6.2", "GOST R 34.10-2012 512 key agreement"},
    // GOST parameter sets
    {"1.2.643.2.2.30.0", "GOST R 34.11-94 test parameters"},
    {"1.2.643.2.2.30.1", "GOST R 34.11-94 CryptoPro parameters"},
    {"1.2.643.2.2.31.0", "GOST 28147-89 test parameters"},
    {"1.2.643.2.2.31.1", "GOST 28147-89 CryptoPro-A"},
    {"1.2.643.2.2.31.2", "GOST 28147-89 CryptoPro-B"},
    {"1.2.643.2.2.31.3", "GOST 28147-89 CryptoPro-C"},
    {"1.2.643.2.2.31.4", "GOST 28147-89 CryptoPro-D"},
    {"1.2.643.7.1.2.5.1.1", "GOST 28147-89 TC26-Z"},
    {"1.2.643.2.2.35.0", "GOST R 34.10-2001 test parameters"},
    {"1.2.643.2.2.35.1", "GOST R 34.10-2001 CryptoPro-A"},
    {"1.2.643.2.2.35.2", "GOST R 34.10-2001 CryptoPro-B"},
    {"1.2.643.2.2.35.3", "GOST R 34.10-2001 CryptoPro-C"},
    {"1.2.643.2.2.36.0", "GOST R 34.10-2001 CryptoPro-XchA"},
    {"1.2.643.2.2.36.1", "GOST R 34.10-2001 CryptoPro-XchB"},
    {"1.2.643.7.1.2.1.1.1", "GOST R 34.10-2012 256 TC26-A"},
    {"1.2.643.7.1.2.1.1.2", "GOST R 34.10-2012 256 TC26-B"},
    {"1.2.643.7.1.2.1.1.3", "GOST R 34.10-2012 256 TC26-C"},
    {"1.2.643.7.1.2.1.1.4", "GOST R 34.10-2012 256 TC26-D"},
    {"1.2.643.7.1.2.1.2.0", "GOST R 34.10-2012 512 test parameters"},
    {"1.2.643.7.1.2.1.2.1", "GOST R 34.10-2012 512 TC26-A"},
    {"1.2.643.7.1.2.1.2.2", "GOST R 34.10-2012 512 TC26-B"},
    {"1.2.643.7.1.2.1.2.3", "GOST R 34.10-2012 512 TC26-C"},
    // Extensions of certificates and CRLs
    {"2.5.29.9", "subjectDirectoryAttributes"},
    {"2.5.29.14", "subjectKeyIdentifier"},
    {"2.5.29.15", "keyUsage"},
    {"2.5.29.16", "privateKeyUsagePeriod"},
    {"2.5.29.17", "subjectAltName"},
    {"2.5.29.18", "issuerAltName"},
    {"2.5.29.19", "basicConstraints"},
    {"2.5.29.20", "cRLNumber"},
    {"2.5.29.21", "reasonCode"},
    {"2.5.29.23", "holdInstructionCode"},
    {"2.5.29.24", "invalidityDate"},
    {"2.5.29.27", "deltaCRLIndicator"},
    {"2.5.29.28", "issuingDistributionPoint"},
    {"2.5.29.29", "certificateIssuer"},
    {"2.5.29.30", "nameConstraints"},
    {"2.5.29.31", "cRLDistributionPoints"},
    {"2.5.29.32", "certificatePolicies"},
    {"2.5.29.33", "policyMappings"},
    {"2.5.29.35", "authorityKeyIdentifier"},
    {"2.5.29.36", "policyConstraints"},
    {"2.5.29.37", "extKeyUsage"},
    {"2.5.29.46", "freshestCRL"},
    {"2.5.29.54", "inhibitAnyPolicy"},
    {"1.3.6.1.5.5.7.1.1", "authorityInfoAccess"},
    {"1.3.6.1.5.5.7.1.2", "biometricInfo"},
    {"1.3.6.1.5.5.7.1.3", "qcStatements"},
    {"1.3.6.1.5.5.7.1.11", "subjectInfoAccess"},
    {"1.3.6.1.5.5.7.1.12", "logotype"},
    {"1.3.6.1.5.5.7.1.24", "tlsFeature"},
    {"1.3.6.1.5.5.7.48.1.5", "ocspNoCheck"},
    {"1.3.6.1.4.1.11129.2.4.2", "signedCertificateTimestamps"},
    {"1.3.6.1.4.1.11129.2.4.3", "precertificatePoison"},
    {"1.3.6.1.4.1.311.20.2", "certificateTemplateName"},
    {"1.3.6.1.4.1.311.21.1", "caVersion"},
    {"1.3.6.1.4.1.311.21.7", "certificateTemplate"},
    {"1.3.6.1.4.1.311.21.10", "applicationPolicies"},
    {"2.16.840.1.113730.1.1", "netscapeCertType"},
    {"2.16.840.1.113730.1.13", "netscapeComment"},
    {"1.2.643.100.111", "subjectSignTool"},
    {"1.2.643.100.112", "issuerSignTool"},
    {"1.2.643.100.114", "identificationKind"},
    // Key purposes
    {"2.5.29.37.0", "anyExtendedKeyUsage"},
    {"1.3.6.1.5.5.7.3.1", "serverAuth"},
    {"1.3.6.1.5.5.7.3.2", "clientAuth"},
    {"1.3.6.1.5.5.7.3.3", "codeSigning"},
    {"1.3.6.1.5.5.7.3.4", "emailProtection"},
    {"1.3.6.1.5.5.7.3.5", "ipsecEndSystem"},
    {"1.3.6.1.5.5.7.3.6", "ipsecTunnel"},
    {"1.3.6.1.5.5.7.3.7", "ipsecUser"},
    {"1.3.6.1.5.5.7.3.8", "timeStamping"},
    {"1.3.6.1.5.5.7.3.9", "OCSPSigning"},
    {"1.3.6.1.5.5.7.3.17", "ipsecIKE"},
    {"1.3.6.1.5.5.7.3.21", "secureShellClient"},
    {"1.3.6.1.5.5.7.3.22", "secureShellServer"},
    {"1.3.6.1.5.5.7.3.36", "documentSigning"},
    {"1.3.6.1.5.2.3.4", "pkinitClientAuth"},
    {"1.3.6.1.5.2.3.5", "pkinitKDC"},
    {"1.3.6.1.4.1.311.10.3.4", "encryptedFileSystem"},
    {"1.3.6.1.4.1.311.20.2.2", "smartcardLogon"},
    // Policies, their qualifiers, and access methods
    {"2.5.29.32.0", "anyPolicy"},
    {"1.3.6.1.5.5.7.2.1", "cps"},
    {"1.3.6.1.5.5.7.2.2", "userNotice"},
    {"1.3.6.1.5.5.7.48.1", "OCSP"},
    {"1.3.6.1.5.5.7.48.2", "caIssuers"},
    {"1.3.6.1.5.5.7.48.3", "timeStampingService"},
    {"1.3.6.1.5.5.7.48.5", "caRepository"},
    {"2.23.140.1.1", "extendedValidation"},
    {"2.23.140.1.2.1", "domainValidated"},
    {"2.23.140.1.2.2", "organizationValidated"},
    {"2.23.140.1.2.3", "individualValidated"},
    {"0.4.0.194112.1.0", "qcp-natural"},
    {"0.4.0.194112.1.1", "qcp-legal"},
    {"0.4.0.194112.1.2", "qcp-natural-qscd"},
    {"0.4.0.194112.1.3", "qcp-legal-qscd"},
    {"0.4.0.194112.1.4", "qcp-web"},
    {"1.2.643.100.113.1", "signTool KC1"},
    {"1.2.643.100.113.2", "signTool KC2"},
    {"1.2.643.100.113.3", "signTool KC3"},
    {"1.2.643.100.113.4", "signTool KB1"},
    {"1.2.643.100.113.5", "signTool KB2"},
    {"1.2.643.100.113.6", "signTool KA1"},
    {"0.4.0.1862.1.1", "qcCompliance"},
    {"0.4.0.1862.1.2", "qcLimitValue"},
    {"0.4.0.1862.1.3", "qcRetentionPeriod"},
    {"0.4.0.1862.1.4", "qcSSCD"},
    {"0.4.0.1862.1.5", "qcPDS"},
    {"0.4.0.1862.1.6", "qcType"},
    {"0.4.0.1862.1.6.1", "qct-esign"},
    {"0.4.0.1862.1.6.2", "qct-eseal"},
    {"0.4.0.1862.1.6.3", "qct-web"},
    // Other names
    {"1.3.6.1.4.1.311.20.2.3", "userPrincipalName"},
    {"1.3.6.1.5.5.7.8.5", "xmppAddr"},
    {"1.3.6.1.5.5.7.8.7", "dnsSRV"},
    {"1.3.6.1.5.5.7.8.9", "smtpUTF8Mailbox"},
    // Content of messages and containers, and their attributes
    {"1.2.840.113549.1.7.1", "data"},
    {"1.2.840.113549.1.7.2", "signedData"},
    {"1.2.840.113549.1.7.3", "envelopedData"},
    {"1.2.840.113549.1.7.5", "digestedData"},
    {"1.2.840.113549.1.7.6", "encryptedData"},
    {"1.2.840.113549.1.9.16.1.4", "tSTInfo"},
    {"1.3.6.1.5.5.7.48.1.1", "basicOCSPResponse"},
    {"1.2.840.113549.1.9.3", "contentType"},
    {"1.2.840.113549.1.9.4", "messageDigest"},
    {"1.2.840.113549.1.9.5", "signingTime"},
    {"1.2.840.113549.1.9.6", "countersignature"},
    {"1.2.840.113549.1.9.7", "challengePassword"},
    {"1.2.840.113549.1.9.14", "extensionRequest"},
    {"1.2.840.113549.1.9.15", "smimeCapabilities"},
    {"1.2.840.113549.1.9.16.2.12", "signingCertificate"},
    {"1.2.840.113549.1.9.16.2.14", "timeStampToken"},
    {"1.2.840.113549.1.9.16.2.47", "signingCertificateV2"},
    {"1.2.840.113549.1.9.20", "friendlyName"},
    {"1.2.840.113549.1.9.21", "localKeyID"},
    {"1.2.840.113549.1.9.22.1", "x509Certificate"},
    {"1.2.840.113549.1.9.22.2", "sdsiCertificate"},
    {"1.2.840.113549.1.9.23.1", "x509Crl"},
    {"1.2.840.113549.1.12.10.1.1", "keyBag"},
    {"1.2.840.113549.1.12.10.1.2", "pkcs8ShroudedKeyBag"},
    {"1.2.840.113549.1.12.10.1.3", "certBag"},
    {"1.2.840.113549.1.12.10.1.4", "crlBag"},
    {"1.2.840.113549.1.12.10.1.5", "secretBag"},
    {"1.2.840.113549.1.12.10.1.6", "safeContentsBag"},
};

// The number in base 128 of [begin, end), of any size that may be meant.
std::string decimal(const unsigned char* begin, const unsigned char* end) {
  constexpr std::ptrdiff_t max_size = 64;
  if (end - begin > max_size) {
    return "(a number of " + std::to_string(end - begin) + " bytes)";
  }
  std::string digits = "0";  // the least significant first
  for (; begin != end; ++begin) {
    unsigned carry = *begin & 0x7FU;
    for (char& digit : digits) {
      carry += static_cast<unsigned>(digit - '0') * 128;
      digit = static_cast<char>('0' + carry % 10);
      carry /= 10;
    }
    for (; carry != 0; carry /= 10) {
      digits += static_cast<char>('0' + carry % 10);
    }
  }
  return {digits.rbegin(), digits.rend()};
}

// first * 40 + second, where only a first arc of 2 lets the second be 40 or more (X.690, 8.19.4).
std::string first_arcs(const unsigned char* begin, const unsigned char* end) {
  constexpr std::ptrdiff_t max_size = 9;
  if (end - begin > max_size) {
    return "2." + decimal(begin, end) + "-80";
  }
  std::uint64_t both = 0;
  for (; begin != end; ++begin) {
    both = both << 7 | (*begin & 0x7FU);
  }
  const std::uint64_t first = std::min<std::uint64_t>(both / 40, 2);
  return std::to_string(first) + '.' + std::to_string(both - first * 40);
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::string_view known_oid_name(std::string_view dotted) {
  for (const known_oid_t& known : known_oids) {
    if (known.dotted == dotted) {
      return known.name;
    }
  }
  return {};
}

std::string_view known_oid_by_name(std::string_view name) {
  for (const known_oid_t& known : known_oids) {
    if (equal_ignoring_case(known.name, name)) {
      return known.dotted;
    }
  }
  return {};
}

std::string dotted_oid(const blob_t& oid) {
  std::string text;
  for (unsigned i = 0, begin = 0; i < oid.size; ++i) {
    if ((oid.data[i] & 0x80) == 0) {
      text += text.empty() ? first_arcs(oid.data, oid.data + i + 1)
                           : '.' + decimal(oid.data + begin, oid.data + i + 1);
      begin = i + 1;
    }
  }
  const bool whole = oid.size != 0 && (oid.data[oid.size - 1] & 0x80) == 0;
  return whole ? text : "";
}

std::string describe_oid(const unsigned char* oid, unsigned size) {
  const pki_alg_t alg = PKI_OID_TO_ALG(oid, size);
  return alg != 0 ? I2S_PKI_ALG_T->getString(alg, "unknown") : describe_param_set({size, oid});
}

std::string describe_param_set(const blob_t& oid) {
  const std::string dotted = dotted_oid(oid);
  if (dotted.empty()) {
    return "a malformed object identifier";
  }
  const pki_alg_t alg = PKI_OID_TO_ALG(oid.data, oid.size);
  const std::string_view name =
      alg != 0 ? I2S_PKI_ALG_T->getString(alg, "") : known_oid_name(dotted);
  return name.empty() ? dotted : dotted + " (" + std::string(name) + ')';
}
