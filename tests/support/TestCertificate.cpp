#include "tests/support/HttpTestServer.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace harbor {

namespace {

template <auto free>
struct Freed {
    template <class T>
    void operator()(T* object) const
    {
        free(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freed<X509_free>>;
using Memory = std::unique_ptr<BIO, Freed<BIO_free_all>>;

void check(bool worked)
{
    if (!worked)
        throw std::runtime_error("The test certificate could not be made.");
}

void addExtension(X509* certificate, int kind, std::string const& value)
{
    std::unique_ptr<X509_EXTENSION, Freed<X509_EXTENSION_free>> const extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
    check(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

std::string textOf(Memory const& memory)
{
    char* bytes = nullptr;
    auto const length = BIO_get_mem_data(memory.get(), &bytes);
    return { bytes, static_cast<std::size_t>(length) };
}

}  // namespace

TestCertificate TestCertificate::make(std::vector<std::string> const& hosts)
{
    Key const key(EVP_EC_gen("P-256"));
    Certificate const certificate(X509_new());
    check(key && certificate);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -86'400);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86'400);
    X509_set_pubkey(certificate.get(), key.get());

    auto* const name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(
        name, "CN", MBSTRING_ASC, reinterpret_cast<unsigned char const*>("test remote"), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    std::string names = "IP:127.0.0.1";
    for (auto const& host : hosts)
        names += ",DNS:" + host;
    addExtension(certificate.get(), NID_subject_alt_name, names);
    addExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
    check(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0);

    Memory const keyText(BIO_new(BIO_s_mem()));
    Memory const certificateText(BIO_new(BIO_s_mem()));
    check(PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
    check(PEM_write_bio_X509(certificateText.get(), certificate.get()) == 1);
    return { textOf(keyText), textOf(certificateText) };
}

}  // namespace harbor
