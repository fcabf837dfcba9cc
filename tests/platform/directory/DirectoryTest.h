#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/directory/ldap/LdapDirectory.h"
#include "platform/events/epoll/EpollEvents.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "tests/support/DirectoryFixture.h"

namespace kr {

/// A registry of its own, events and a connection for each test.
class DirectoryTest : public ::testing::Test {
protected:
    using Clock = std::chrono::steady_clock;

    DirectoryTest() {
        std::string pattern = "/tmp/kr-registry-XXXXXX";
        m_folder = mkdtemp(pattern.data());
        m_registry = MakeRegFileRegistry(m_folder, m_folder);
        m_provider = MakeLdapDirectory(*m_registry, *m_events, [this] { ++m_idles; });
        m_directory = m_provider->CreateConnection();
    }
    ~DirectoryTest() override {
        m_directory.reset();
        std::filesystem::remove_all(m_folder);
    }

    void set(std::string_view name, std::string_view value) {
        SetDirectoryValue(*m_registry, name, value);
    }
    bool until(const std::function<bool()>& done,
               std::chrono::milliseconds most = std::chrono::milliseconds(10000)) {
        const auto end = Clock::now() + most;
        while (!done() && Clock::now() < end)
            m_events->Run(std::chrono::milliseconds(20));
        return done();
    }
    /// The error that the call throws; number 0 when it throws none.
    static PlatformError errorOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const PlatformError& error) {
            return error;
        }
        return {0, "no error"};
    }
    static long hresult(uint32_t number) { return static_cast<int32_t>(number); }
    static DirectoryQuery query(std::string filter,
                                std::vector<std::string> attributes = {"name"}) {
        DirectoryQuery result;
        result.base = "DC=example,DC=test";
        result.filter = std::move(filter);
        result.attributes = std::move(attributes);
        return result;
    }
    std::vector<std::string> names(const DirectoryQuery& q) {
        std::vector<std::string> result;
        m_directory->Execute(q, [&](const DirectoryRow& row) {
            result.push_back(row.First(q.attributes.empty() ? "name" : q.attributes.front()));
        });
        return result;
    }

    std::string m_folder;
    std::unique_ptr<Registry> m_registry;
    std::unique_ptr<EpollEvents> m_events = MakeEpollEvents();
    int m_idles = 0;
    std::unique_ptr<DirectoryProvider> m_provider;
    std::unique_ptr<Directory> m_directory;
};

} // namespace kr
