#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/Clock.h"
#include "platform/directory/Directory.h"
#include "platform/services/Services.h"
#include "platform/shell/Shell.h"

namespace kr {

class SettableClock : public Clock {
public:
    Time now() const override { return m_now; }
    void Set(Time now) { m_now = now; }
    void Advance(std::chrono::seconds by) { m_now += by; }

private:
    // 2026-03-10 09:30:00 UTC
    Time m_now{std::chrono::seconds(1773135000)};
};

/// Service managers that answer at once and keep what they were told.
class FakeServices : public Services {
public:
    struct Sent {
        std::string host, service;
        int code;
        bool operator==(const Sent&) const = default;
    };
    /// By "host/service", then by service alone; absent means no such service.
    std::map<std::string, SvcState> states;
    /// Answer of Start and Stop; 0 is success.
    long startCode = 0;
    std::vector<Sent> sent;
    std::vector<std::string> started, stopped;

    void Query(std::string_view host, std::string_view service,
               std::function<void(SvcState, const std::string&)> done) override;
    void Start(std::string_view host, std::string_view service,
               std::function<void(long, const std::string&)> done) override;
    void Stop(std::string_view host, std::string_view service,
              std::function<void(long, const std::string&)> done) override;
    void Control(std::string_view host, std::string_view service, int code) override;
    /// By "host/program".
    std::vector<std::string> processes, killed;
    void Kill(std::string_view host, std::string_view service, std::string_view program,
              std::function<void(bool)> done) override;
    bool Busy() const override { return false; }
};

class FakeShell : public Shell {
public:
    std::vector<std::string> urls, files;
    int result = 33;
    bool viewer = false;
    bool pingAnswers = true;
    std::string tempFolder = "/tmp";

    int OpenURL(std::string_view url) override;
    int OpenFile(std::string_view path) override;
    bool HasViewer(std::string_view) override { return viewer; }
    bool Ping(std::string_view) override { return pingAnswers; }
    std::string ComputerName() override { return "CONSOLE1"; }
    std::string UserName() override { return "tester"; }
    std::string TempFolder() override { return tempFolder; }
    std::string SystemFacts() override { return "System: test\n"; }
};

/// A directory that answers each filter from a table; a filter that isn't there gives no rows.
class FakeDirectory : public DirectoryProvider {
public:
    using Entry = std::map<std::string, std::vector<std::string>>;
    std::map<std::string, std::vector<Entry>> answers; // by filter
    std::map<std::string, std::string> rootDSE{{"rootDomainNamingContext", "DC=example,DC=test"},
                                               {"defaultNamingContext", "DC=example,DC=test"}};
    bool failOpen = false;
    std::vector<DirectoryQuery> queries;

    std::unique_ptr<Directory> CreateConnection() override;
};

} // namespace kr
