#include "platform/TrustStore.h"

#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "common/Log.h"

namespace keyvane::trust_store {
namespace {

// Read once, then only read from; OpenSSL counts the references each context adds.
struct Authorities {
    std::vector<X509*> certificates;
    std::string systemFolder;  // looked up by subject hash, file by file, when a chain needs it
};

std::once_flag loaded;
Authorities* authorities = nullptr;

// Appends the certificates of a PEM file; the number it held.
std::size_t readPemFile(const char* path, std::vector<X509*>& into) {
    BIO* file = BIO_new_file(path, "r");
    if (!file)
        return 0;
    STACK_OF(X509_INFO)* infos = PEM_X509_INFO_read_bio(file, nullptr, nullptr, nullptr);
    BIO_free(file);
    std::size_t count = 0;
    for (int i = 0; infos && i < sk_X509_INFO_num(infos); ++i) {
        X509_INFO* info = sk_X509_INFO_value(infos, i);
        if (info->x509 && X509_up_ref(info->x509)) {
            into.push_back(info->x509);
            ++count;
        }
    }
    sk_X509_INFO_pop_free(infos, X509_INFO_free);
    return count;
}

void load() {
    auto* result = new Authorities;
    const curl_version_info_data* curl = curl_version_info(CURLVERSION_NOW);
    readPemFile(curl->cainfo ? curl->cainfo : X509_get_default_cert_file(), result->certificates);
    result->systemFolder = curl->capath ? curl->capath : X509_get_default_cert_dir();
    const char* extraFile = std::getenv("SSL_CERT_FILE");
    if (extraFile && *extraFile && readPemFile(extraFile, result->certificates) == 0)
        warn(std::string("SSL_CERT_FILE names ") + extraFile +
             ", which holds no certificate that could be read; only the system's authorities are "
             "trusted");
    // A file that ends is no error for the exchange that runs next on this thread.
    ERR_clear_error();
    authorities = result;
}

}  // namespace

void trustIn(SSL_CTX* context) {
    std::call_once(loaded, load);
    if (!authorities)
        return;  // released: the process is ending
    X509_STORE* store = SSL_CTX_get_cert_store(context);
    for (X509* certificate : authorities->certificates)
        X509_STORE_add_cert(store, certificate);
    X509_STORE_load_path(store, authorities->systemFolder.c_str());
    ERR_clear_error();
}

void release() {
    if (!authorities)
        return;
    for (X509* certificate : authorities->certificates)
        X509_free(certificate);
    delete authorities;
    authorities = nullptr;
}

}  // namespace keyvane::trust_store
