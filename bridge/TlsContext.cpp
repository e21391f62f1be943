#include "bridge/TlsContext.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <boost/asio/ip/address.hpp>
#include <new>
#include <stdexcept>

namespace bridge {
namespace {

constexpr int kHost = 0, kFault = 1;  // indices of the context's data

[[noreturn]] void Fail(const std::string& what) {
  const char* const reason = ERR_reason_error_string(ERR_get_error());
  ERR_clear_error();
  throw std::runtime_error(what + ": " + (reason == nullptr ? "cannot be used" : reason));
}

int GetIndex(int which) {
  static const int kIndices[] = {SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr),
                                 SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr)};
  return kIndices[which];
}

std::string& GetText(const SSL* connection, int which) {
  return *static_cast<std::string*>(
      SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), GetIndex(which)));
}

/// Keeps why a certificate is refused. The name that the certificate must have is in the context.
int Verify(int isGood, X509_STORE_CTX* store) {
  if (isGood != 0) return isGood;
  const auto* const connection = static_cast<const SSL*>(
      X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx()));
  GetText(connection, kFault) = X509_verify_cert_error_string(X509_STORE_CTX_get_error(store));
  return isGood;
}

/// The library is given the address as a number, so the name that the broker is asked for (SNI) is
/// set here, before the first message.
void Inform(const SSL* connection, int where, int /*value*/) {
  if ((where & SSL_CB_HANDSHAKE_START) == 0) return;
  // Only the callback's parameter is const.
  SSL_set_tlsext_host_name(const_cast<SSL*>(connection), GetText(connection, kHost).c_str());
}

}  // namespace

void TlsContext::Free::operator()(SSL_CTX* context) const { SSL_CTX_free(context); }

TlsContext::TlsContext(const TlsFiles& files, const std::string& host)
    : context_(SSL_CTX_new(TLS_client_method())),
      host_(std::make_unique<std::string>(host)),
      fault_(std::make_unique<std::string>()) {
  SSL_CTX* const context = context_.get();
  if (context == nullptr) throw std::bad_alloc();
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
  SSL_CTX_set_ex_data(context, GetIndex(kFault), fault_.get());
  SSL_CTX_set_ex_data(context, GetIndex(kHost), host_.get());
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, &Verify);

  X509_VERIFY_PARAM* const name = SSL_CTX_get0_param(context);
  boost::system::error_code error;
  boost::asio::ip::make_address(host, error);
  if (error) {
    SSL_CTX_set_info_callback(context, &Inform);
    X509_VERIFY_PARAM_set_hostflags(name, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    if (X509_VERIFY_PARAM_set1_host(name, host.c_str(), host.size()) != 1) Fail(host);
  } else if (X509_VERIFY_PARAM_set1_ip_asc(name, host.c_str()) != 1) {
    Fail(host);
  }

  if (files.authorities.empty()) {
    if (SSL_CTX_set_default_verify_paths(context) != 1) Fail("the system's certificates");
  } else if (SSL_CTX_load_verify_locations(context, files.authorities.c_str(), nullptr) != 1) {
    Fail(files.authorities);
  }
  if (files.certificate.empty()) return;
  if (SSL_CTX_use_certificate_chain_file(context, files.certificate.c_str()) != 1) {
    Fail(files.certificate);
  }
  if (SSL_CTX_use_PrivateKey_file(context, files.key.c_str(), SSL_FILETYPE_PEM) != 1 ||
      SSL_CTX_check_private_key(context) != 1) {
    Fail(files.key);
  }
}

}  // namespace bridge
