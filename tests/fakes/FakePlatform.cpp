#include "tests/fakes/FakePlatform.h"

#include "core/Text.h"

namespace kr {

namespace {

std::string bare(std::string_view host) {
    return std::string(host.starts_with("\\\\") ? host.substr(2) : host);
}

class FakeRow : public DirectoryRow {
public:
    explicit FakeRow(const FakeDirectory::Entry& entry) : m_entry(entry) {}
    std::vector<std::string> Values(std::string_view attribute) const override {
        for (const auto& [name, values] : m_entry)
            if (EqualNoCase(name, attribute))
                return values;
        return {};
    }
    std::string DN() const override { return First("distinguishedName"); }

private:
    const FakeDirectory::Entry& m_entry;
};

class DoneSearch : public DirectorySearch {
public:
    bool Done() const override { return true; }
    void Cancel() override {}
};

class FakeConnection : public Directory {
public:
    explicit FakeConnection(FakeDirectory& d) : m_d(d) {}
    void Open() override {
        if (m_d.failOpen)
            throw PlatformError(static_cast<long>(0x8007203A), "The server is not operational.");
        m_open = true;
    }
    bool IsOpen() const override { return m_open; }
    std::string RootDSE(std::string_view attribute) override {
        const auto it = m_d.rootDSE.find(std::string(attribute));
        if (it == m_d.rootDSE.end())
            throw PlatformError(static_cast<long>(0x80072030), "There is no such object.");
        return it->second;
    }
    std::shared_ptr<DirectorySearch>
    Start(const DirectoryQuery& query, std::function<void(const DirectoryRow&)> onRow,
          std::function<void(const PlatformError*)> onDone) override {
        Execute(query, onRow);
        onDone(nullptr);
        return std::make_shared<DoneSearch>();
    }
    void Execute(const DirectoryQuery& query,
                 const std::function<void(const DirectoryRow&)>& onRow) override {
        m_d.queries.push_back(query);
        const auto it = m_d.answers.find(query.filter);
        if (it == m_d.answers.end())
            return;
        for (const auto& entry : it->second)
            onRow(FakeRow(entry));
    }
    void Close() override { m_open = false; }

private:
    FakeDirectory& m_d;
    bool m_open = false;
};

} // namespace

void FakeServices::Query(std::string_view host, std::string_view service,
                         std::function<void(SvcState, const std::string&)> done) {
    auto it = states.find(bare(host) + "/" + std::string(service));
    if (it == states.end())
        it = states.find(std::string(service));
    if (it == states.end())
        done(SvcState::Failed, "The specified service does not exist.");
    else
        done(it->second, {});
}

void FakeServices::Start(std::string_view host, std::string_view,
                         std::function<void(long, const std::string&)> done) {
    started.push_back(bare(host));
    done(startCode, startCode == 0 ? "" : "The service could not be started.");
}

void FakeServices::Stop(std::string_view host, std::string_view,
                        std::function<void(long, const std::string&)> done) {
    stopped.push_back(bare(host));
    done(0, {});
}

void FakeServices::Kill(std::string_view host, std::string_view, std::string_view program,
                        std::function<void(bool)> done) {
    const std::string name = bare(host) + "/" + std::string(program);
    const bool runs = std::erase(processes, name) > 0;
    if (runs)
        killed.push_back(name);
    done(runs);
}

void FakeServices::Control(std::string_view host, std::string_view service, int code) {
    sent.push_back({bare(host), std::string(service), code});
}

int FakeShell::OpenURL(std::string_view url) {
    urls.emplace_back(url);
    return result;
}

int FakeShell::OpenFile(std::string_view path) {
    files.emplace_back(path);
    return result;
}

std::unique_ptr<Directory> FakeDirectory::CreateConnection() {
    return std::make_unique<FakeConnection>(*this);
}

} // namespace kr
