#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "core/PlatformError.h"
#include "platform/secrets/sodium/SodiumSecrets.h"

namespace {

namespace fs = std::filesystem;
using kr::MakeSodiumSecrets;
using kr::PlatformError;

class SodiumSecretsTest : public ::testing::Test {
protected:
    SodiumSecretsTest() {
        std::string pattern = (fs::temp_directory_path() / "kr-secrets-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        key = m_folder + "/deep/value.key";
    }
    ~SodiumSecretsTest() override { fs::remove_all(m_folder); }
    std::string key;
    std::string m_folder;
};

TEST_F(SodiumSecretsTest, GivesBackWhatItTook) {
    const auto secrets = MakeSodiumSecrets(key);
    for (const std::string& text :
         {std::string(), std::string("pass;word=\"x\""), std::string("\0nul", 4),
          std::string("\u00e9\u05d0"), std::string(100'000, 'x')})
        EXPECT_EQ(secrets->Decipher(secrets->Encipher(text)), text);
}

TEST_F(SodiumSecretsTest, HidesTheTextAndNeverRepeatsItself) {
    const auto secrets = MakeSodiumSecrets(key);
    const std::string first = secrets->Encipher("topsecret");
    EXPECT_EQ(first.find("topsecret"), std::string::npos);
    EXPECT_TRUE(first.starts_with("krs1:"));
    EXPECT_NE(first, secrets->Encipher("topsecret"));
}

TEST_F(SodiumSecretsTest, PlainValuesComeBackUnchanged) {
    const auto secrets = MakeSodiumSecrets(key);
    for (const std::string text : {"", "DOMAIN\\user", "krs1:", "krs1:not base64!", "krs1:QUJD"})
        EXPECT_EQ(secrets->Decipher(text), text);
    EXPECT_FALSE(fs::exists(key)) << "reading makes no key";
}

TEST_F(SodiumSecretsTest, TheKeyIsTheUsersAlone) {
    MakeSodiumSecrets(key)->Encipher("x");
    struct stat info {};
    ASSERT_EQ(stat(key.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    EXPECT_EQ(info.st_size, 32);
    EXPECT_EQ(std::distance(fs::directory_iterator(fs::path(key).parent_path()), {}), 1);
}

TEST_F(SodiumSecretsTest, AnotherProgramUsesTheSameKey) {
    const std::string stored = MakeSodiumSecrets(key)->Encipher("shared");
    EXPECT_EQ(MakeSodiumSecrets(key)->Decipher(stored), "shared");
}

TEST_F(SodiumSecretsTest, AChangedValueIsRefused) {
    const auto secrets = MakeSodiumSecrets(key);
    std::string stored = secrets->Encipher("a longer text than one block");
    stored[20] = stored[20] == 'A' ? 'B' : 'A';
    EXPECT_THROW(secrets->Decipher(stored), PlatformError);
}

TEST_F(SodiumSecretsTest, AnotherKeyIsRefused) {
    const std::string stored = MakeSodiumSecrets(key)->Encipher("x");
    MakeSodiumSecrets(m_folder + "/other.key")->Encipher("y");
    EXPECT_THROW(MakeSodiumSecrets(m_folder + "/other.key")->Decipher(stored), PlatformError);
    EXPECT_THROW(MakeSodiumSecrets(m_folder + "/none.key")->Decipher(stored), PlatformError);
}

TEST_F(SodiumSecretsTest, AKeyThatOthersReadIsRefused) {
    const auto secrets = MakeSodiumSecrets(key);
    const std::string stored = secrets->Encipher("x");
    ASSERT_EQ(chmod(key.c_str(), 0644), 0);
    EXPECT_THROW(secrets->Encipher("y"), PlatformError);
    EXPECT_THROW(secrets->Decipher(stored), PlatformError);
}

TEST_F(SodiumSecretsTest, ADamagedKeyIsRefusedAndStays) {
    fs::create_directories(fs::path(key).parent_path());
    std::ofstream(key) << "short";
    ASSERT_EQ(chmod(key.c_str(), 0600), 0);
    EXPECT_THROW(MakeSodiumSecrets(key)->Encipher("x"), PlatformError);
    EXPECT_EQ(fs::file_size(key), 5U);
}

TEST_F(SodiumSecretsTest, AFolderThatCannotBeMadeIsSaid) {
    std::ofstream(m_folder + "/file") << "x";
    try {
        MakeSodiumSecrets(m_folder + "/file/value.key")->Encipher("x");
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_NE(error.description().find("value.key"), std::string::npos);
    }
}

TEST_F(SodiumSecretsTest, TwoThatMakeTheKeyAtOnceShareIt) {
    std::string stored[4];
    std::vector<std::thread> threads;
    for (std::string& value : stored)
        threads.emplace_back([&] { value = MakeSodiumSecrets(key)->Encipher("z"); });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& value : stored)
        EXPECT_EQ(MakeSodiumSecrets(key)->Decipher(value), "z");
}

} // namespace
