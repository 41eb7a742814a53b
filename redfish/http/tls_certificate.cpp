#include "redfish/http/tls_certificate.hpp"

#include <arpa/inet.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <ctime>
#include <utility>

#include "support/read_file.hpp"
#include "support/staged_file.hpp"

namespace dp_redfish {
namespace {

using dp_support::failure;
using dp_support::result;

constexpr std::size_t most_of_pem_file = std::size_t{1} << 20U;
constexpr std::time_t seconds_of_hour = 3600;
constexpr std::time_t valid_days = 825;
constexpr std::time_t seconds_of_day = 86400;
constexpr std::time_t renewal_time = 30 * seconds_of_day;

template <auto Free>
struct openssl_free {
    template <class Object>
    void operator()(Object* object) const {
        Free(object);
    }
};
using bio_pointer = std::unique_ptr<BIO, openssl_free<BIO_free_all>>;
using key_pointer = std::unique_ptr<EVP_PKEY, openssl_free<EVP_PKEY_free>>;
using x509_pointer = std::unique_ptr<X509, openssl_free<X509_free>>;
using number_pointer = std::unique_ptr<BIGNUM, openssl_free<BN_free>>;
using extension_pointer = std::unique_ptr<X509_EXTENSION, openssl_free<X509_EXTENSION_free>>;
using context_pointer = std::unique_ptr<SSL_CTX, openssl_free<SSL_CTX_free>>;

// The oldest error of this thread's queue, which is emptied.
failure openssl_failure(const std::string& what) {
    const unsigned long code = ERR_get_error();
    ERR_clear_error();
    const char* const text = code == 0 ? nullptr : ERR_reason_error_string(code);
    return failure{text == nullptr ? what : what + ": " + text};
}

bio_pointer reader_of(const std::string& text) {
    return bio_pointer(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

std::string text_of_bio(BIO* bio) {
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(bio, &bytes);
    return length <= 0 ? std::string() : std::string(bytes, static_cast<std::size_t>(length));
}

// Instead of a question on the terminal: there is no passphrase.
int no_passphrase(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*data*/) {
    return -1;
}

x509_pointer next_certificate(BIO* reader) {
    return x509_pointer(PEM_read_bio_X509(reader, nullptr, no_passphrase, nullptr));
}

// Seconds since the epoch; nothing of the system parses ASN.1 times.
std::time_t expiry_of(const X509& certificate) {
    std::tm parts{};
    if (ASN1_TIME_to_tm(X509_get0_notAfter(&certificate), &parts) != 1) {
        return 0;
    }
    return timegm(&parts);
}

// Through a text, because OpenSSL may have been compiled with another size of time_t.
bool set_time(ASN1_TIME* target, std::time_t time) {
    std::tm parts{};
    std::array<char, sizeof "20380119031407Z"> text{};
    return gmtime_r(&time, &parts) != nullptr &&
           std::strftime(text.data(), text.size(), "%Y%m%d%H%M%SZ", &parts) > 0 &&
           ASN1_TIME_set_string_X509(target, text.data()) == 1;
}

bool is_ip_address(const std::string& name) {
    std::array<unsigned char, sizeof(in6_addr)> address{};
    return inet_pton(AF_INET, name.c_str(), address.data()) == 1 ||
           inet_pton(AF_INET6, name.c_str(), address.data()) == 1;
}

std::string alternative_names(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list +=
            (list.empty() ? "" : ",") + std::string(is_ip_address(name) ? "IP:" : "DNS:") + name;
    }
    return list;
}

bool add_extension(X509& certificate, int kind, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, &certificate, &certificate, nullptr, nullptr, 0);
    const extension_pointer extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    return extension && X509_add_ext(&certificate, extension.get(), -1) == 1;
}

bool set_random_serial(X509& certificate) {
    constexpr int bits = 127;  // positive, in 16 bytes
    const number_pointer number(BN_new());
    return number && BN_rand(number.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
           BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(&certificate)) != nullptr;
}

bool set_names(X509& certificate, const std::string& subject) {
    // The field has at most 64 characters.
    constexpr std::size_t longest = 64;
    const std::string text = subject.substr(0, longest);
    X509_NAME* const name = X509_get_subject_name(&certificate);
    return X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                      reinterpret_cast<const unsigned char*>(text.c_str()), -1, -1,
                                      0) == 1 &&
           X509_set_issuer_name(&certificate, name) == 1;
}

// "http/1.1" when the client offers it; without agreement the connection goes on without ALPN.
int select_protocol(SSL* /*connection*/, const unsigned char** out, unsigned char* out_length,
                    const unsigned char* offered, unsigned length, void* /*data*/) {
    static constexpr unsigned char known[] = "\x08http/1.1";
    unsigned char* chosen = nullptr;
    if (SSL_select_next_proto(&chosen, out_length, known, sizeof known - 1, offered, length) !=
        OPENSSL_NPN_NEGOTIATED) {
        return SSL_TLSEXT_ERR_NOACK;
    }
    *out = chosen;
    return SSL_TLSEXT_ERR_OK;
}

}  // namespace

tls_certificate::tls_certificate(std::string chain, std::string key)
    : chain_(std::move(chain)), key_(std::move(key)) {}

result<std::shared_ptr<const tls_certificate>> tls_certificate::load(
    const std::string& certificate_file, const std::string& key_file) {
    auto chain = dp_support::read_file(certificate_file, most_of_pem_file);
    auto key = dp_support::read_file(key_file, most_of_pem_file);
    if (!chain || !key) {
        return chain ? key.error() : chain.error();
    }
    // The constructor is private.
    const std::shared_ptr<tls_certificate> loaded(
        new tls_certificate(*std::move(chain), *std::move(key)));
    const context_pointer scratch(SSL_CTX_new(TLS_server_method()));
    if (!scratch) {
        return openssl_failure("cannot use TLS");
    }
    if (const auto installed = loaded->install(*scratch); !installed) {
        const std::string files =
            certificate_file == key_file ? key_file : certificate_file + " with " + key_file;
        return failure{files + ": " + installed.reason()};
    }
    loaded->expiry_ = expiry_of(*SSL_CTX_get0_certificate(scratch.get()));
    return std::shared_ptr<const tls_certificate>(loaded);
}

result<std::string> tls_certificate::make_self_signed(const std::vector<std::string>& names,
                                                      std::time_t now) {
    const key_pointer key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    const x509_pointer certificate(X509_new());
    const std::string what = "cannot make a certificate";
    if (!key || !certificate || names.empty()) {
        return openssl_failure(what);
    }
    X509& made = *certificate;
    constexpr long version_3 = 2;
    const std::time_t start = now - seconds_of_hour;
    const bool is_complete =
        X509_set_version(&made, version_3) == 1 && set_random_serial(made) &&
        set_time(X509_getm_notBefore(&made), start) &&
        set_time(X509_getm_notAfter(&made), start + valid_days * seconds_of_day) &&
        set_names(made, names.front()) && X509_set_pubkey(&made, key.get()) == 1 &&
        add_extension(made, NID_subject_alt_name, alternative_names(names)) &&
        add_extension(made, NID_basic_constraints, "critical,CA:FALSE") &&
        add_extension(made, NID_key_usage, "critical,digitalSignature") &&
        add_extension(made, NID_ext_key_usage, "serverAuth") &&
        add_extension(made, NID_subject_key_identifier, "hash") &&
        X509_sign(&made, key.get(), EVP_sha256()) != 0;
    if (!is_complete) {
        return openssl_failure(what);
    }
    const bio_pointer out(BIO_new(BIO_s_mem()));
    if (!out || PEM_write_bio_X509(out.get(), &made) != 1 ||
        PEM_write_bio_PrivateKey(out.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) !=
            1) {
        return openssl_failure(what);
    }
    return text_of_bio(out.get());
}

result<std::shared_ptr<const tls_certificate>> tls_certificate::load_or_make(
    const std::string& file, const std::vector<std::string>& names, std::time_t now) {
    struct stat found {};
    if (stat(file.c_str(), &found) == 0) {
        auto loaded = load(file, file);
        if (!loaded || (*loaded)->expiry() - now > renewal_time) {
            return loaded;
        }
    } else if (errno != ENOENT) {
        return dp_support::system_failure("read", file, errno);
    }
    const auto text = make_self_signed(names, now);
    if (!text) {
        return text.error();
    }
    if (const auto written = dp_support::write_private_file(file, *text); !written) {
        return written.error();
    }
    return load(file, file);
}

result<> tls_certificate::install(ssl_ctx_st& context) const {
    ERR_clear_error();
    SSL_CTX_set_default_passwd_cb(&context, no_passphrase);
    SSL_CTX_set_options(&context, SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION |
                                      SSL_OP_CLEANSE_PLAINTEXT | SSL_OP_CIPHER_SERVER_PREFERENCE);
    SSL_CTX_set_session_cache_mode(&context, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_alpn_select_cb(&context, select_protocol, nullptr);
    // Those of TLS 1.3 are good as they are.
    if (SSL_CTX_set_min_proto_version(&context, TLS1_2_VERSION) != 1 ||
        SSL_CTX_set_cipher_list(&context, "ECDHE+AESGCM:ECDHE+CHACHA20:!aNULL") != 1) {
        return openssl_failure("cannot use TLS 1.2 and 1.3");
    }
    const bio_pointer reader = reader_of(chain_);
    const x509_pointer own = next_certificate(reader.get());
    if (!own || SSL_CTX_use_certificate(&context, own.get()) != 1) {
        return openssl_failure("no certificate");
    }
    SSL_CTX_clear_extra_chain_certs(&context);
    while (x509_pointer issuer = next_certificate(reader.get())) {
        if (SSL_CTX_add_extra_chain_cert(&context, issuer.get()) != 1) {
            return openssl_failure("no chain of certificates");
        }
        // The context owns it now.
        static_cast<void>(issuer.release());
    }
    // The end of the file is an error of the reader.
    ERR_clear_error();
    const bio_pointer key_reader = reader_of(key_);
    const key_pointer key(
        PEM_read_bio_PrivateKey(key_reader.get(), nullptr, no_passphrase, nullptr));
    if (!key) {
        return openssl_failure("no private key without a passphrase");
    }
    if (SSL_CTX_use_PrivateKey(&context, key.get()) != 1 ||
        SSL_CTX_check_private_key(&context) != 1) {
        return openssl_failure("the key does not belong to the certificate");
    }
    return {};
}

}  // namespace dp_redfish
