#include "tests/support/DirectoryFixture.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/support/Loopback.h"

namespace kr {

using namespace std::chrono_literals;

namespace {

constexpr const char* kForest = "DC=example,DC=test";

/// Starts a program with its output appended to a file; gives its process id or 0.
pid_t start(const std::vector<std::string>& arguments, const std::string& output,
            const std::vector<std::string>& environment = {}) {
    std::vector<char*> argv;
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> variables;
    for (const auto& variable : environment)
        variables.push_back(const_cast<char*>(variable.c_str()));
    for (char** variable = environ; *variable != nullptr; ++variable)
        variables.push_back(*variable);
    variables.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, argv[0], &files, nullptr, argv.data(), variables.data());
    posix_spawn_file_actions_destroy(&files);
    return error == 0 ? pid : 0;
}

bool run(const std::vector<std::string>& arguments, const std::string& output) {
    const pid_t pid = start(arguments, output);
    int status = 0;
    return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

sockaddr_in endpoint(const std::string& host, int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    address.sin_port = htons(static_cast<uint16_t>(port));
    return address;
}

bool answers(const std::string& host, int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = endpoint(host, port);
    const bool connected =
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return connected;
}

struct Entry {
    std::string dn;
    std::vector<const char*> classes;
    const char* category;
    std::vector<std::pair<std::string, std::string>> values;
};

void write(std::ostream& out, const Entry& entry) {
    const std::string rdn = entry.dn.substr(0, entry.dn.find(','));
    const size_t equals = rdn.find('=');
    const std::string name = rdn.substr(equals + 1);
    out << "dn: " << entry.dn << "\n";
    for (const char* objectClass : entry.classes)
        out << "objectClass: " << objectClass << "\n";
    out << rdn.substr(0, equals) << ": " << name << "\nname: " << name
        << "\ndistinguishedName: " << entry.dn << "\nobjectCategory: CN=" << entry.category
        << ",CN=Schema,CN=Configuration," << kForest << "\n";
    for (const auto& [key, value] : entry.values)
        out << key << ": " << value << "\n";
    out << "\n";
}

std::vector<std::pair<std::string, std::string>> mailbox(const std::string& alias) {
    return {{"sAMAccountName", alias},
            {"mailNickname", alias},
            {"mail", alias + "@example.test"},
            {"proxyAddresses", "smtp:" + alias + "@old.test"},
            {"proxyAddresses", "SMTP:" + alias + "@example.test"},
            {"legacyExchangeDN", "/o=Ex/ou=AG/cn=Recipients/cn=" + alias},
            {"msExchHomeServerName", "/o=Ex/ou=AG/cn=Configuration/cn=Servers/cn=EX1"}};
}

Entry person(int number, const std::string& folder) {
    const std::string n = std::to_string(number);
    Entry entry{"CN=" + std::string(1, static_cast<char>('A' + number * 7 % 26)) + "name First " +
                    n + "," + folder,
                {"person", "organizationalPerson", "user"},
                "Person",
                mailbox("u" + n)};
    entry.values.insert(entry.values.end(),
                        {{"displayName", "First " + n},
                         {"givenName", "First"},
                         {"sn", "Last " + n},
                         {"company", "Example"},
                         {"department", "D" + std::to_string(number % 40)},
                         {"telephoneNumber", std::to_string(100000 + number)},
                         {"userAccountControl", number % 50 == 0 ? "514" : "512"}});
    if (number % 97 == 0)
        entry.values.emplace_back("msExchHideFromAddressLists", "TRUE");
    return entry;
}

} // namespace

DirectoryFixture::DirectoryFixture(Options options) : m_options(std::move(options)) {
    std::string pattern = "/tmp/kr-directory-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        m_problem = "no temporary folder";
        return;
    }
    m_folder = pattern;
    if (build())
        Start();
}

DirectoryFixture::~DirectoryFixture() {
    Kill();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

bool DirectoryFixture::build() {
    std::filesystem::create_directory(m_folder + "/db");
    if (m_options.tls && !makeCertificates()) {
        m_problem = "openssl made no certificates";
        return false;
    }
    writeSchema();
    writeConfiguration();
    writeEntries();
    if (run({"/usr/sbin/slapadd", "-q", "-f", m_folder + "/slapd.conf", "-l",
             m_folder + "/entries.ldif"},
            m_folder + "/slapd.log"))
        return true;
    m_problem = "slapadd failed: " + log();
    return false;
}

void DirectoryFixture::writeSchema() const {
    constexpr const char* kText =
        "EQUALITY caseIgnoreMatch SUBSTR caseIgnoreSubstringsMatch SYNTAX "
        "1.3.6.1.4.1.1466.115.121.1.15";
    constexpr const char* kDn =
        "EQUALITY distinguishedNameMatch SYNTAX 1.3.6.1.4.1.1466.115.121.1.12";
    struct Group {
        const char* names;
        std::string definition;
    };
    const Group groups[] = {
        {"DC sn givenName initials title l st co postalCode streetAddress "
         "physicalDeliveryOfficeName telephoneNumber facsimileTelephoneNumber homePhone mobile "
         "pager company department mail displayName sAMAccountName mailNickname "
         "msExchHomeServerName legacyExchangeDN msExchDynamicDLFilter dnsHostName",
         std::string(kText) + " SINGLE-VALUE"},
        {"OU proxyAddresses otherTelephone otherHomePhone postOfficeBox", kText},
        {"objectCategory msExchDynamicDLBaseDN rootDomainNamingContext defaultNamingContext "
         "configurationNamingContext",
         std::string(kDn) + " SINGLE-VALUE"},
        {"member", kDn},
        {"userAccountControl",
         "EQUALITY integerMatch SYNTAX 1.3.6.1.4.1.1466.115.121.1.27 SINGLE-VALUE"},
        {"objectGUID",
         "EQUALITY octetStringMatch SYNTAX 1.3.6.1.4.1.1466.115.121.1.40 SINGLE-VALUE"},
        {"msExchHideFromAddressLists isGlobalCatalogReady",
         "EQUALITY booleanMatch SYNTAX 1.3.6.1.4.1.1466.115.121.1.7 SINGLE-VALUE"}};
    std::ofstream out(m_folder + "/directory.schema");
    std::string all = "cn $ name $ distinguishedName";
    int number = 0;
    for (const Group& group : groups) {
        std::istringstream names(group.names);
        for (std::string name; names >> name;) {
            out << "attributetype ( 1.3.6.1.4.1.4203.666.11.901.1." << ++number << " NAME '" << name
                << "' " << group.definition << " )\n";
            if (name.find("NamingContext") == std::string::npos)
                all += " $ " + name;
        }
    }
    const std::pair<const char*, const char*> classes[] = {{"person", "top"},
                                                           {"organizationalPerson", "person"},
                                                           {"user", "organizationalPerson"},
                                                           {"group", "top"},
                                                           {"msExchDynamicDistributionList", "top"},
                                                           {"container", "top"},
                                                           {"organizationalUnit", "top"},
                                                           {"domainDNS", "top"}};
    for (const auto& [name, parent] : classes)
        out << "objectclass ( 1.3.6.1.4.1.4203.666.11.901.2." << ++number << " NAME '" << name
            << "' SUP " << parent << " STRUCTURAL MAY ( " << all << " ) )\n";
}

void DirectoryFixture::writeConfiguration() const {
    std::ofstream(m_folder + "/rootdse.ldif")
        << "dn:\nrootDomainNamingContext: " << kForest << "\ndefaultNamingContext: " << kForest
        << "\nconfigurationNamingContext: CN=Configuration," << kForest
        << "\ndnsHostName: dc1.example.test\nisGlobalCatalogReady: TRUE\n";
    std::ofstream out(m_folder + "/slapd.conf");
    out << "include " << m_folder << "/directory.schema\nmodulepath /usr/lib/ldap\n"
        << "moduleload back_mdb\nmoduleload rwm\npidfile " << m_folder << "/slapd.pid\n"
        << "rootDSE " << m_folder
        << "/rootdse.ldif\n"
        // 1000 rows without paging, as domain controllers give
        << "sizelimit size.soft=1000 size.hard=1000 size.unchecked=unlimited size.pr=1000 "
           "size.prtotal=unlimited\n"
        << m_options.extraConfiguration;
    if (m_options.tls)
        out << "TLSCACertificateFile " << m_folder << "/ca.pem\nTLSCertificateFile " << m_folder
            << "/server.pem\nTLSCertificateKeyFile " << m_folder << "/server.key\n";
    const std::string category = ",CN=Schema,CN=Configuration," + std::string(kForest);
    out << "database mdb\nsuffix \"" << kForest << "\"\ndirectory " << m_folder
        << "/db\nmaxsize 1073741824\ndbnosync\nrootdn \"" << kAccount << "\"\nrootpw " << kPassword
        << "\nindex objectClass,objectCategory,sAMAccountName,mail,legacyExchangeDN,proxyAddresses "
           "eq\nindex mailNickname,msExchHomeServerName eq,pres\nindex cn,name,displayName eq,sub\n"
        << "access to * by " << (m_options.usersOnly ? "users" : "*")
        << " read by anonymous auth\n"
        // a domain controller puts the DN of the class's category in place of its name
        << "overlay rwm\nrwm-rewriteEngine on\nrwm-rewriteContext searchFilter\n"
        << R"x(rwm-rewriteRule "(.*)\\(objectCategory=(person|user)\\)(.*)" )x"
        << "\"%1(objectCategory=CN=Person" << category << ")%3\"\n"
        << R"x(rwm-rewriteRule "(.*)\\(objectCategory=group\\)(.*)" )x"
        << "\"%1(objectCategory=CN=Group" << category << ")%2\"\n";
}

void DirectoryFixture::writeEntries() const {
    std::ofstream out(m_folder + "/entries.ldif");
    const std::string forest = kForest;
    const auto container = [&](const std::string& name) {
        write(out, {"CN=" + name + "," + forest, {"container"}, "Container", {}});
    };
    const auto unit = [&](const std::string& name, const std::string& parent) {
        const std::string dn = "OU=" + name + "," + parent;
        write(out, {dn, {"organizationalUnit"}, "Organizational-Unit", {}});
        return dn;
    };
    write(out, {forest, {"domainDNS"}, "Domain-DNS", {}});
    for (const char* name :
         {"Users", "Computers", "System", "Program Data", "ForeignSecurityPrincipals",
          "Microsoft Exchange System Objects", "MOMLatencyMonitors", "Managed"})
        container(name);
    const std::string staff = unit("Staff", forest);
    const std::string lists = unit("Lists", forest);
    const std::string emea = "DC=emea," + forest;
    write(out, {emea, {"domainDNS"}, "Domain-DNS", {}});
    const std::string people = unit("People", emea);
    for (int i = 1; i <= m_options.people; ++i)
        write(out, person(i, i % 10 == 0 ? people : staff));
    write(out, {"CN=No Mail," + staff,
                {"person", "organizationalPerson", "user"},
                "Person",
                {{"sAMAccountName", "nomail"}, {"userAccountControl", "512"}}});
    // without distinguishedName and name: the reader has the DN alone
    out << R"(dn: CN=O'Hara (old) \\ \, x,)" << staff
        << "\nobjectClass: person\nobjectClass: organizationalPerson\nobjectClass: user\n"
        << R"(cn: O'Hara (old) \ , x)"
        << "\nobjectCategory: CN=Person,CN=Schema,CN=Configuration," << forest
        << "\nuserAccountControl: 512\ngivenName: Mary\nsn: O'Hara (old)\n";
    for (const auto& [key, value] : mailbox("ohara"))
        out << key << ": " << value << "\n";
    out << "\n";
    const auto list = [&](const std::string& name, const std::string& alias, const char* kind,
                          const char* category, std::string_view filter, std::string_view base) {
        Entry entry{"CN=" + name + "," + lists,
                    {kind},
                    category,
                    {{"mail", alias + "@example.test"},
                     {"mailNickname", alias},
                     {"proxyAddresses", "SMTP:" + alias + "@example.test"}}};
        if (!filter.empty())
            entry.values.emplace_back("msExchDynamicDLFilter", filter);
        if (!base.empty())
            entry.values.emplace_back("msExchDynamicDLBaseDN", base);
        write(out, entry);
    };
    list("Q Base", "q1", "msExchDynamicDistributionList", "ms-Exch-Dynamic-Distribution-List",
         "(&(objectCategory=person)(mailNickname=*)(!msExchHideFromAddressLists=TRUE))", people);
    list("Q Self", "q2", "msExchDynamicDistributionList", "ms-Exch-Dynamic-Distribution-List",
         "(|(mailNickname=q1)(mailNickname=q2)(mailNickname=sales))", "");
    list("Sales", "sales", "group", "Group", "", "");
    out << "dn: DC=apac," << forest
        << "\nobjectClass: referral\nobjectClass: extensibleObject\nDC: apac\n"
        << "ref: ldap://127.0.0.1:1/DC=apac," << forest << "\n\n"
        << m_options.extraEntries;
}

bool DirectoryFixture::makeCertificates() {
    const std::string output = m_folder + "/openssl.log";
    // "localhost" is checked as the name of this machine
    char machine[256] = {};
    gethostname(machine, sizeof machine - 1);
    std::ofstream(m_folder + "/names.conf")
        << "subjectAltName=DNS:dc1.example.test,IP:127.0.0.1,DNS:localhost,DNS:" << machine << "\n";
    const auto file = [this](const char* name) { return m_folder + "/" + name; };
    return run({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                "/CN=Test CA", "-keyout", file("ca.key"), "-out", file("ca.pem")},
               output) &&
           run({"openssl", "req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=dc1.example.test",
                "-keyout", file("server.key"), "-out", file("server.csr")},
               output) &&
           run({"openssl", "x509", "-req", "-in", file("server.csr"), "-CA", file("ca.pem"),
                "-CAkey", file("ca.key"), "-CAcreateserial", "-days", "2", "-extfile",
                file("names.conf"), "-out", file("server.pem")},
               output);
}

bool DirectoryFixture::Start() {
    for (int attempt = 0; attempt < 5; ++attempt) {
        for (int& port : m_ports)
            if (port == 0)
                port = FreePort(m_options.address);
        const auto url = [this](const char* scheme, int port) {
            return std::string(scheme) + "://" + m_options.address + ":" + std::to_string(port);
        };
        std::string urls = url("ldap", m_ports[0]) + " " + url("ldap", m_ports[1]);
        if (m_options.tls)
            urls += " " + url("ldaps", m_ports[2]);
        m_pid =
            start({"/usr/sbin/slapd", "-d", "stats", "-f", m_folder + "/slapd.conf", "-h", urls},
                  m_folder + "/slapd.log", m_options.environment);
        for (int i = 0; m_pid > 0 && i < 500; ++i) {
            if (answers(m_options.address, m_ports[1]))
                return true;
            if (waitpid(m_pid, nullptr, WNOHANG) != 0)
                break;
            std::this_thread::sleep_for(10ms);
        }
        Kill();
        // somebody else may have taken a port meanwhile
        for (int& port : m_ports)
            port = 0;
    }
    m_problem = "slapd does not start: " + log();
    return false;
}

void DirectoryFixture::Kill() {
    if (m_pid <= 0)
        return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
    m_pid = 0;
}

void DirectoryFixture::Freeze() { kill(m_pid, SIGSTOP); }

void DirectoryFixture::Thaw() { kill(m_pid, SIGCONT); }

std::string DirectoryFixture::log() const {
    std::ifstream file(m_folder + "/slapd.log");
    return {std::istreambuf_iterator<char>(file), {}};
}

void SetDirectoryValue(Registry& registry, std::string_view name, std::string_view value) {
    RegValue text;
    text.type = RegType::Sz;
    text.text = value;
    registry.Write(Hive::LocalMachine, R"(Software\zandrel\zandrelAgent\Directory)", name, text);
}

void DirectoryFixture::Configure(Registry& registry) const {
    SetDirectoryValue(registry, "Server", m_options.address);
    SetDirectoryValue(registry, "Port", std::to_string(port()));
    SetDirectoryValue(registry, "GCPort", std::to_string(catalogPort()));
    SetDirectoryValue(registry, "TLS", "none");
    SetDirectoryValue(registry, "Mechanism", "none");
}

} // namespace kr
