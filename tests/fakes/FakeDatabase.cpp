#include "tests/fakes/FakeDatabase.h"

namespace kr {

namespace {

class OpenFake : public Database {
public:
    OpenFake(FakeDatabase& owner, const FakeDatabase::Source& source)
        : m_owner(owner), m_source(source) {}
    void Execute(std::string_view query, const DbLimits& limits,
                 const std::function<void(const std::vector<std::string>&)>& onColumns,
                 const std::function<void(std::vector<Value>&)>& onRow) override {
        m_owner.queries.emplace_back(query);
        m_owner.limits.push_back(limits);
        const auto answer = m_source.answers.find(std::string(query));
        if (answer == m_source.answers.end())
            throw m_source.unknown;
        onColumns(answer->second.columns);
        int64_t given = 0;
        for (std::vector<Value> row : answer->second.rows) {
            if (limits.maxRows && given++ >= limits.maxRows)
                return;
            onRow(row);
        }
    }

private:
    FakeDatabase& m_owner;
    const FakeDatabase::Source& m_source;
};

} // namespace

std::unique_ptr<Database> FakeDatabase::Open(std::string_view connectionString, const DbLimits&) {
    opened.emplace_back(connectionString);
    const auto source = sources.find(std::string(connectionString));
    if (source == sources.end())
        throw refusal;
    return std::make_unique<OpenFake>(*this, source->second);
}

} // namespace kr
