#include "platform/secrets/sodium/SodiumSecrets.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <utility>

#include "core/PlatformError.h"

namespace kr {

namespace {

constexpr std::string_view kMark = "krs1:";
constexpr auto kVariant = sodium_base64_VARIANT_ORIGINAL;
constexpr mode_t kOthers = 077;

using Key = std::array<unsigned char, crypto_secretbox_KEYBYTES>;

[[noreturn]] void fail(long number, const std::string& what) {
    throw PlatformError(number, what, "Secrets");
}

/// A descriptor that closes itself.
class File {
public:
    File(const std::string& path, int flags, mode_t mode = 0)
        : m_fd(open(path.c_str(), flags | O_CLOEXEC, mode)) {}
    ~File() {
        if (m_fd >= 0)
            close(m_fd);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    explicit operator bool() const { return m_fd >= 0; }
    int fd() const { return m_fd; }

private:
    int m_fd;
};

class SodiumSecrets : public Secrets {
public:
    explicit SodiumSecrets(std::string keyFile) : m_keyFile(std::move(keyFile)) {
        if (sodium_init() < 0)
            fail(EIO, "The cipher library can't be started.");
    }

    std::string Encipher(std::string_view text) override {
        const Key key = readKey(true).value();
        std::string box(crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES + text.size(),
                        '\0');
        auto* nonce = reinterpret_cast<unsigned char*>(box.data());
        randombytes_buf(nonce, crypto_secretbox_NONCEBYTES);
        crypto_secretbox_easy(nonce + crypto_secretbox_NONCEBYTES,
                              reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                              nonce, key.data());
        std::string base64(sodium_base64_encoded_len(box.size(), kVariant), '\0');
        sodium_bin2base64(base64.data(), base64.size(), nonce, box.size(), kVariant);
        base64.pop_back(); // the final NUL
        return std::string(kMark) + base64;
    }

    std::string Decipher(std::string_view stored) override {
        std::string box;
        if (!stored.starts_with(kMark) || !decode(stored.substr(kMark.size()), box))
            return std::string(stored);
        const auto key = readKey(false);
        if (!key)
            fail(ENOENT, "The value was enciphered by another user or on another computer: the "
                         "key file " +
                             m_keyFile + " is not there.");
        const auto* nonce = reinterpret_cast<const unsigned char*>(box.data());
        std::string text(box.size() - crypto_secretbox_NONCEBYTES - crypto_secretbox_MACBYTES,
                         '\0');
        if (crypto_secretbox_open_easy(
                reinterpret_cast<unsigned char*>(text.data()), nonce + crypto_secretbox_NONCEBYTES,
                box.size() - crypto_secretbox_NONCEBYTES, nonce, key->data()) != 0)
            fail(EBADMSG, "The value was enciphered with another key, or was changed since.");
        return text;
    }

private:
    /// False for what can't be the form that Encipher makes.
    static bool decode(std::string_view base64, std::string& box) {
        box.resize(base64.size());
        size_t size = 0;
        const char* end = nullptr;
        if (sodium_base642bin(reinterpret_cast<unsigned char*>(box.data()), box.size(),
                              base64.data(), base64.size(), nullptr, &size, &end, kVariant) != 0 ||
            end != base64.data() + base64.size())
            return false;
        box.resize(size);
        return size >= crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES;
    }

    std::optional<Key> readKey(bool make) const {
        const File file(m_keyFile, O_RDONLY);
        if (!file) {
            if (errno != ENOENT)
                fail(errno,
                     "The key file " + m_keyFile + " can't be read: " + std::strerror(errno) + ".");
            return make ? std::optional(makeKey()) : std::nullopt;
        }
        struct stat info {};
        if (fstat(file.fd(), &info) != 0 || (info.st_mode & kOthers) != 0)
            fail(EACCES, "The key file " + m_keyFile + " is not used: others may read it.");
        Key key;
        if (read(file.fd(), key.data(), key.size()) != static_cast<ssize_t>(key.size()))
            fail(EBADMSG, "The key file " + m_keyFile + " is damaged.");
        return key;
    }

    /// Whole or not at all; of two programs that make it at once both use the first one's.
    Key makeKey() const {
        std::error_code ignored; // opening says what is wrong
        std::filesystem::create_directories(std::filesystem::path(m_keyFile).parent_path(),
                                            ignored);
        Key key;
        crypto_secretbox_keygen(key.data());
        const std::string fresh = m_keyFile + "." + std::to_string(randombytes_random());
        bool written = false;
        {
            const File file(fresh, O_WRONLY | O_CREAT | O_TRUNC, S_IRUSR | S_IWUSR);
            written =
                file &&
                write(file.fd(), key.data(), key.size()) == static_cast<ssize_t>(key.size()) &&
                fsync(file.fd()) == 0;
        }
        const int error = errno;
        const bool linked = written && link(fresh.c_str(), m_keyFile.c_str()) == 0;
        const bool lost = written && !linked && errno == EEXIST;
        unlink(fresh.c_str());
        if (lost)
            return readKey(false).value();
        if (!linked)
            fail(written ? errno : error, "The key file " + m_keyFile + " can't be made.");
        return key;
    }

    std::string m_keyFile;
};

} // namespace

std::unique_ptr<Secrets> MakeSodiumSecrets(std::string keyFile) {
    return std::make_unique<SodiumSecrets>(std::move(keyFile));
}

} // namespace kr
