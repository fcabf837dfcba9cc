#include <gmock/gmock.h>

#include "tests/platform/directory/DirectoryTest.h"
#include "tests/platform/directory/ScriptedPeer.h"

using namespace std::chrono_literals;
using kr::DirectoryRow;
using kr::PeerRequest;
using ::testing::ElementsAre;

namespace {

constexpr unsigned char kBind = 0x60;
constexpr unsigned char kBound = 0x61;
constexpr unsigned char kSearch = 0x63;
constexpr unsigned char kSearched = 0x65;

class LdapPeerTest : public kr::DirectoryTest {
protected:
    void use(const kr::ScriptedPeer& peer) {
        set("Server", "127.0.0.1");
        set("Port", std::to_string(peer.port()));
        set("GCPort", std::to_string(peer.port()));
        set("TLS", "none");
        set("Mechanism", "none");
    }
    /// The longest time between two ticks of a timer while the call runs.
    std::chrono::milliseconds longestHold(const std::function<void()>& call) {
        auto longest = 0ms;
        auto last = Clock::now();
        const auto id = m_events->AddTimer(5ms, [&] {
            const auto now = Clock::now();
            longest = std::max(longest, std::chrono::floor<std::chrono::milliseconds>(now - last));
            last = now;
        });
        call();
        m_events->Cancel(id);
        return longest;
    }
};

TEST_F(LdapPeerTest, LongListsAreFetchedInParts) {
    std::vector<std::string> asked;
    const kr::ScriptedPeer peer([&](const PeerRequest& r) -> std::string {
        if (r.operation == kBind)
            return kr::PeerResult(r.id, kBound);
        if (r.operation != kSearch)
            return {};
        for (const auto& [range, answer, values] :
             {std::tuple{"member;range=2-*", "member;range=2-3",
                         std::vector<std::string>{"c", "d"}},
              std::tuple{"member;range=4-*", "member;range=4-*", std::vector<std::string>{"e"}}})
            if (r.mentions(range)) {
                asked.emplace_back(range);
                EXPECT_TRUE(r.mentions("CN=Big,DC=x"));
                return kr::PeerEntry(r.id, "CN=Big,DC=x", {{answer, values}}) +
                       kr::PeerResult(r.id, kSearched);
            }
        return kr::PeerEntry(r.id, "CN=First,DC=x", {{"name", {"First"}}, {"member", {"z"}}}) +
               kr::PeerEntry(
                   r.id, "CN=Big,DC=x",
                   {{"name", {"Big"}}, {"member", {}}, {"member;range=0-1", {"a", "b"}}}) +
               kr::PeerEntry(r.id, "CN=Last,DC=x", {{"name", {"Last"}}}) +
               kr::PeerResult(r.id, kSearched);
    });
    use(peer);
    m_directory->Open();
    std::vector<std::string> order;
    std::vector<std::string> members;
    m_directory->Execute(query("(cn=*)", {"name", "member"}), [&](const DirectoryRow& row) {
        order.push_back(row.First("name"));
        if (row.First("name") == "Big")
            members = row.Values("member");
    });
    EXPECT_THAT(order, ElementsAre("First", "Big", "Last"));
    EXPECT_THAT(members, ElementsAre("a", "b", "c", "d", "e"));
    EXPECT_THAT(asked, ElementsAre("member;range=2-*", "member;range=4-*"));
}

TEST_F(LdapPeerTest, ManyMessagesAtOnceAreAllRead) {
    const kr::ScriptedPeer peer([](const PeerRequest& r) -> std::string {
        if (r.operation == kBind)
            return kr::PeerResult(r.id, kBound);
        if (r.operation != kSearch)
            return {};
        std::string all;
        for (int i = 0; i < 500; ++i)
            all += kr::PeerEntry(r.id, "CN=x", {{"name", {std::to_string(i)}}});
        return all + kr::PeerResult(r.id, kSearched);
    });
    use(peer);
    m_directory->Open();
    const auto all = names(query("(cn=*)"));
    ASSERT_EQ(all.size(), 500u);
    EXPECT_EQ(all.back(), "499");
}

TEST_F(LdapPeerTest, BytesComeAsTheyAre) {
    using namespace std::string_literals;
    const std::string guid = "\0\xFF\x01\0"s;
    const kr::ScriptedPeer peer([&](const PeerRequest& r) -> std::string {
        if (r.operation == kBind)
            return kr::PeerResult(r.id, kBound);
        return r.operation == kSearch ? kr::PeerEntry(r.id, "CN=x", {{"objectGUID", {guid}}}) +
                                            kr::PeerResult(r.id, kSearched)
                                      : std::string();
    });
    use(peer);
    m_directory->Open();
    EXPECT_THAT(names(query("(cn=*)", {"objectGUID"})), ElementsAre(guid));
}

TEST_F(LdapPeerTest, HalfAMessageEndsWithTheDeadlineAndHoldsNobody) {
    const kr::ScriptedPeer peer([](const PeerRequest& r) -> std::string {
        if (r.operation == kBind)
            return kr::PeerResult(r.id, kBound);
        return r.operation == kSearch ? kr::PeerResult(r.id, kSearched).substr(0, 6)
                                      : std::string();
    });
    use(peer);
    m_directory->Open();
    auto q = query("(cn=*)");
    q.timeoutSeconds = 1;
    long number = 0;
    const auto start = Clock::now();
    const auto hold = longestHold([&] { number = errorOf([&] { names(q); }).number(); });
    EXPECT_EQ(number, hresult(0x800705B4));
    EXPECT_LT(Clock::now() - start, 1500ms);
    EXPECT_LT(hold, 200ms);
}

TEST_F(LdapPeerTest, APeerThatNeverAnswersTheBindEndsWhileEventsRun) {
    const kr::ScriptedPeer peer([](const PeerRequest&) { return std::string(); });
    use(peer);
    long number = 0;
    const auto start = Clock::now();
    const auto hold = longestHold([&] { number = errorOf([&] { m_directory->Open(); }).number(); });
    EXPECT_EQ(number, hresult(0x800705B4));
    EXPECT_LT(Clock::now() - start, 15s);
    EXPECT_LT(hold, 200ms);
}

TEST_F(LdapPeerTest, APeerThatNeverAnswersTheHandshakeEndsWhileEventsRun) {
    const kr::ScriptedPeer peer([](const PeerRequest&) { return std::string(); });
    use(peer);
    set("TLS", "ldaps");
    long number = 0;
    const auto start = Clock::now();
    const auto hold = longestHold([&] { number = errorOf([&] { m_directory->Open(); }).number(); });
    EXPECT_EQ(number, hresult(0x8007203A));
    EXPECT_LT(Clock::now() - start, 15s);
    EXPECT_LT(hold, 200ms);
}

TEST_F(LdapPeerTest, APeerThatHangsUpOrTalksNonsenseIsNotOperational) {
    for (const std::string& answer : {std::string(kr::ScriptedPeer::kHangUp), std::string(500, 'H'),
                                      std::string(500, '\xFF')}) {
        const kr::ScriptedPeer peer([&](const PeerRequest& r) -> std::string {
            if (r.operation == kBind)
                return kr::PeerResult(r.id, kBound);
            return r.operation == kSearch ? answer : std::string();
        });
        use(peer);
        const auto directory = m_provider->CreateConnection();
        directory->Open();
        const auto error = errorOf([&] { directory->Execute(query("(cn=*)"), {}); });
        EXPECT_EQ(error.number(), hresult(0x8007203A)) << answer.substr(0, 8);
    }
}

TEST_F(LdapPeerTest, TheProgramMayEndWhileAConnectionOpens) {
    const kr::ScriptedPeer peer([](const PeerRequest&) { return std::string(); });
    use(peer);
    bool called = false;
    // the worker is still waiting for the bind's answer when everything goes
    m_events->AddTimer(100ms, [&] { called = true; });
    auto directory = m_provider->CreateConnection();
    const auto search = directory->Start(
        query("(cn=*)"), [](const DirectoryRow&) { FAIL(); },
        [](const kr::PlatformError*) { FAIL(); });
    directory->Close();
    directory.reset();
    m_directory.reset();
    m_provider.reset();
    EXPECT_TRUE(search->Done());
    EXPECT_TRUE(until([&] { return called; }));
}

} // namespace
