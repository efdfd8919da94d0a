#include "sys/PasswordHash.h"

#include <crypt.h>

#include <array>

namespace zpweb {

Expected<std::string> passwordHash(const std::string& password) {
    constexpr size_t Longest = 72;
    constexpr unsigned long Cost = 10;
    if (password.size() > Longest) {
        return failure(Status::Usage, "the password has more than 72 characters");
    }
    std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> setting{};
    crypt_data data{};
    if (::crypt_gensalt_rn("$2y$", Cost, nullptr, 0, setting.data(), static_cast<int>(setting.size())) ==
        nullptr) {
        return failure("no salt for the password");
    }
    const char* const hash = ::crypt_r(password.c_str(), setting.data(), &data);
    return hash == nullptr || *hash == '*' ? failure("the password cannot be hashed")
                                           : Expected(std::string(hash));
}

}  // namespace zpweb
