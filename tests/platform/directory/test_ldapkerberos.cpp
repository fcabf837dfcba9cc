#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <thread>

#include "tests/platform/directory/DirectoryTest.h"
#include "tests/support/Loopback.h"

using namespace std::chrono_literals;
using kr::DirectoryFixture;
using ::testing::HasSubstr;

/// The GSSAPI plug-in of libsasl2 2.1.28 keeps its credentials when a bind ends without a layer of
/// its own, as under TLS.
extern "C" const char* __lsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier)
const char* __lsan_default_suppressions() { return "leak:libgssapi\nleak:libkrb5\n"; }

namespace {

/// A Kerberos realm of our own in a temporary folder (MIT krb5), with a person "alice" who has a
/// ticket, and a directory that knows the realm.
class LdapKerberosTest : public kr::DirectoryTest {
protected:
    static void SetUpTestSuite() {
        std::string pattern = "/tmp/kr-realm-XXXXXX";
        s_folder = mkdtemp(pattern.data());
        const std::string port = std::to_string(kr::FreePort());
        std::ofstream(s_folder + "/krb5.conf")
            << "[libdefaults]\ndefault_realm = EXAMPLE.TEST\ndns_lookup_kdc = false\n"
            << "dns_lookup_realm = false\nrdns = false\ndns_canonicalize_hostname = false\n"
            << "[realms]\nEXAMPLE.TEST = {\n kdc = 127.0.0.1:" << port << "\n}\n"
            << "[domain_realm]\n127.0.0.1 = EXAMPLE.TEST\nlocalhost = EXAMPLE.TEST\n";
        std::ofstream(s_folder + "/kdc.conf")
            << "[kdcdefaults]\nkdc_listen = 127.0.0.1:" << port
            << "\nkdc_tcp_listen = 127.0.0.1:" << port
            << "\n[realms]\nEXAMPLE.TEST = {\n database_name = " << s_folder
            << "/principal\n key_stash_file = " << s_folder << "/stash\n acl_file = " << s_folder
            << "/acl\n}\n[logging]\nkdc = FILE:" << s_folder << "/kdc.log\n";
        setenv("KRB5_CONFIG", (s_folder + "/krb5.conf").c_str(), 1);
        setenv("KRB5_KDC_PROFILE", (s_folder + "/kdc.conf").c_str(), 1);
        setenv("KRB5CCNAME", ("FILE:" + s_folder + "/tickets").c_str(), 1);
        const std::string keytab = s_folder + "/ldap.keytab";
        s_ready = run({"kdb5_util", "create", "-s", "-P", "master"}) &&
                  run({"kadmin.local", "-q", "addprinc -pw secret alice"}) &&
                  run({"kadmin.local", "-q", "addprinc -randkey ldap/localhost"}) &&
                  run({"kadmin.local", "-q", "ktadd -k " + keytab + " ldap/localhost"});
        s_kdc = start({"krb5kdc", "-n"});
        s_ready = s_ready && s_kdc > 0 && ticket();
        DirectoryFixture::Options options;
        options.people = 120;
        options.usersOnly = true;
        options.tls = true;
        options.environment = {"KRB5_KTNAME=FILE:" + keytab};
        options.extraConfiguration = "sasl-host localhost\n";
        s_server = std::make_unique<DirectoryFixture>(options);
    }
    static void TearDownTestSuite() {
        s_server.reset();
        if (s_kdc > 0) {
            kill(s_kdc, SIGTERM);
            waitpid(s_kdc, nullptr, 0);
        }
        for (const char* name : {"KRB5_CONFIG", "KRB5_KDC_PROFILE", "KRB5CCNAME"})
            unsetenv(name);
        std::filesystem::remove_all(s_folder);
    }
    void SetUp() override {
        ASSERT_TRUE(s_ready) << log();
        ASSERT_TRUE(s_server->running()) << s_server->problem();
        s_server->Configure(*m_registry);
        set("Server", "localhost");
        set("Mechanism", "gssapi");
        set("CAFile", s_server->caFile());
    }

    static std::string log() {
        std::ifstream file(s_folder + "/output");
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static pid_t start(const std::vector<std::string>& arguments, const std::string& input = {}) {
        int fds[2];
        if (pipe(fds) != 0)
            return 0;
        std::vector<char*> argv;
        for (const auto& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, fds[0], 0);
        posix_spawn_file_actions_addclose(&files, fds[1]);
        posix_spawn_file_actions_addopen(&files, 1, (s_folder + "/output").c_str(),
                                         O_WRONLY | O_CREAT | O_APPEND, 0600);
        posix_spawn_file_actions_adddup2(&files, 1, 2);
        pid_t pid = 0;
        if (posix_spawn(&pid, program(arguments[0]).c_str(), &files, nullptr, argv.data(),
                        environ) != 0)
            pid = 0;
        posix_spawn_file_actions_destroy(&files);
        [[maybe_unused]] const ssize_t put = write(fds[1], input.data(), input.size());
        close(fds[0]);
        close(fds[1]);
        return pid;
    }
    static std::string program(const std::string& name) {
        for (const char* folder : {"/usr/sbin/", "/usr/bin/"})
            if (access((folder + name).c_str(), X_OK) == 0)
                return folder + name;
        return name;
    }
    static bool run(const std::vector<std::string>& arguments, const std::string& input = {}) {
        int status = 0;
        const pid_t pid = start(arguments, input);
        return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
               WEXITSTATUS(status) == 0;
    }
    static bool ticket() {
        for (int i = 0; i < 50; ++i) {
            if (run({"kinit", "alice"}, "secret\n"))
                return true;
            std::this_thread::sleep_for(50ms);
        }
        return false;
    }
    static std::string s_folder;
    static bool s_ready;
    static pid_t s_kdc;
    static std::unique_ptr<DirectoryFixture> s_server;
};

std::string LdapKerberosTest::s_folder;
bool LdapKerberosTest::s_ready = false;
pid_t LdapKerberosTest::s_kdc = 0;
std::unique_ptr<DirectoryFixture> LdapKerberosTest::s_server;

TEST_F(LdapKerberosTest, ATicketOpensTheDirectoryAndSealsTheConnection) {
    m_directory->Open();
    EXPECT_EQ(names(query("(mailNickname=u*)")).size(), 120u);
    EXPECT_THAT(s_server->log(), HasSubstr("alice"));
    EXPECT_THAT(s_server->log(), HasSubstr("mech=GSS-SPNEGO bind_ssf=256"));
}

TEST_F(LdapKerberosTest, PagesPassTheSealedConnectionInAnySearchOrder) {
    m_directory->Open();
    int done = 0;
    int rows = 0;
    for (int i = 0; i < 3; ++i)
        m_directory->Start(
            query("(mailNickname=u*)"), [&](const kr::DirectoryRow&) { ++rows; },
            [&](const kr::PlatformError* error) {
                EXPECT_EQ(error, nullptr) << error->description();
                ++done;
            });
    EXPECT_TRUE(until([&] { return done == 3; }));
    EXPECT_EQ(rows, 360);
}

TEST_F(LdapKerberosTest, UnderTlsThereIsNoSecondLayer) {
    set("TLS", "starttls");
    const size_t before = s_server->log().size();
    m_directory->Open();
    EXPECT_EQ(names(query("(mailNickname=u*)")).size(), 120u);
    const std::string log = s_server->log().substr(before);
    EXPECT_THAT(log, HasSubstr("TLS established"));
    EXPECT_THAT(log, HasSubstr("mech=GSS-SPNEGO bind_ssf=0"));
}

TEST_F(LdapKerberosTest, WithoutATicketTheReasonIsTold) {
    setenv("KRB5CCNAME", ("FILE:" + s_folder + "/none").c_str(), 1);
    const auto error = errorOf([&] { m_directory->Open(); });
    setenv("KRB5CCNAME", ("FILE:" + s_folder + "/tickets").c_str(), 1);
    EXPECT_NE(error.number(), 0);
    EXPECT_THAT(error.description(),
                HasSubstr("redentials")); // credentials, "No credentials cache"
}

TEST_F(LdapKerberosTest, AServiceThatTheRealmDoesNotKnowIsRefused) {
    set("Server", "127.0.0.1");
    const auto error = errorOf([&] { m_directory->Open(); });
    EXPECT_NE(error.number(), 0);
    EXPECT_FALSE(m_directory->IsOpen());
}

} // namespace
