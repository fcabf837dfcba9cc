#pragma once

#include <memory>
#include <string>

#include "platform/secrets/Secrets.h"

namespace kr {

/// XSalsa20-Poly1305 of libsodium with a random nonce; stored as "krs1:" and base64. The key lies
/// in a file of 32 bytes that the user alone can read; it is made with the first value, and a file
/// that others can read is refused.
std::unique_ptr<Secrets> MakeSodiumSecrets(std::string keyFile);

} // namespace kr
