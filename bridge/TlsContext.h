#pragma once

#include <openssl/types.h>

#include <memory>
#include <string>

namespace bridge {

/// Files in PEM format; "" for none.
struct TlsFiles {
  std::string authorities;  // certificates of authorities; without it the system's
  std::string certificate;  // this client's, with what leads to its authority
  std::string key;          // of the certificate
};

/// What connections to one broker by TLS 1.2 or later are made with: the broker's certificate must
/// be valid, and of its name or address.
class TlsContext {
 public:
  /// Reads the files. Throws `std::runtime_error` that names the file.
  TlsContext(const TlsFiles& files, const std::string& host);

  SSL_CTX* Get() const { return context_.get(); }
  /// Why the last certificate was refused; "" if it was not.
  const std::string& GetFault() const { return *fault_; }
  void ForgetFault() { fault_->clear(); }

 private:
  struct Free {
    void operator()(SSL_CTX* context) const;
  };

  std::unique_ptr<SSL_CTX, Free> context_;
  std::unique_ptr<std::string> host_, fault_;  // at addresses that the context knows
};

}  // namespace bridge
