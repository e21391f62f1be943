#include "host/web/Headers.h"

namespace web {

void SetCommonHeaders(boost::beast::http::fields& response) {
  constexpr struct {
    const char *name, *value;
  } kHeaders[] = {
      {"Content-Security-Policy",
       "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
       "connect-src 'self'; frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
      {"Cross-Origin-Opener-Policy", "same-origin"},
      {"Cross-Origin-Resource-Policy", "same-origin"},
      {"Permissions-Policy",
       "bluetooth=(), camera=(), display-capture=(), geolocation=(), hid=(), microphone=(), "
       "midi=(), payment=(), serial=(), usb=()"},
      {"Referrer-Policy", "no-referrer"},
      {"X-Content-Type-Options", "nosniff"},
      {"X-Frame-Options", "DENY"},
      {"Cache-Control", "no-store"},
  };
  for (const auto& [name, value] : kHeaders) response.set(name, value);
}

}  // namespace web
