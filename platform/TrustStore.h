#pragma once

typedef struct ssl_ctx_st SSL_CTX;

namespace keyvane::trust_store {

// The certificate authorities that every HTTPS exchange trusts: the system's (the bundle and the
// folder that libcurl was built to use) and, when the environment variable SSL_CERT_FILE names a
// PEM file, the certificates in it as well. The files are read once per process, by the first
// exchange that needs them, on its own thread; later exchanges take the certificates from memory.

// Gives a new TLS context the trusted authorities. Thread-safe.
void trustIn(SSL_CTX* context);

// Frees the certificates read. Only once no exchange runs any more, at the end of the process.
void release();

}  // namespace keyvane::trust_store
