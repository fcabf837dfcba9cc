#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/events/epoll/EpollEvents.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "platform/services/MakeServices.h"

namespace kr {

/// Services over real events and a registry of its own. Computers are addresses of the loopback
/// network, so that several of them can be had.
class ServicesTest : public ::testing::Test {
protected:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;
    struct State {
        SvcState state;
        std::string error;
    };
    struct Code {
        long code;
        std::string error;
    };

    ServicesTest() {
        std::string pattern = "/tmp/kr-services-XXXXXX";
        m_folder = mkdtemp(pattern.data());
        m_registry = MakeRegFileRegistry(m_folder + "/user", m_folder + "/machine");
        m_options.scmWorker = m_folder + "/no-worker";
        m_options.sshProgram = m_folder + "/no-ssh";
    }
    ~ServicesTest() override {
        m_services.reset();
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    Services& services() {
        if (m_services == nullptr)
            m_services = MakeServices(*m_events, *m_registry, m_options);
        return *m_services;
    }
    void set(const std::string& host, const std::string& name, const std::string& text) {
        m_registry->Write(Hive::LocalMachine, R"(Software\zandrel\zandrelAgent\Hosts\)" + host,
                          name, {RegType::Sz, text, 0, {}, {}});
    }
    bool until(const std::function<bool()>& done, Milliseconds most = Milliseconds(5000)) {
        const auto end = Clock::now() + most;
        while (!done() && Clock::now() < end)
            m_events->Run(Milliseconds(20));
        return done();
    }
    State query(std::string_view host, std::string_view service = "zandrelAgent") {
        std::optional<State> result;
        services().Query(host, service, [&](SvcState state, const std::string& error) {
            result = State{state, error};
        });
        EXPECT_FALSE(result) << "the answer came before events ran";
        EXPECT_TRUE(services().Busy());
        EXPECT_TRUE(until([&] { return result.has_value(); }));
        return result.value_or(State{SvcState::Failed, "no answer"});
    }
    Code start(std::string_view host, std::string_view service = "zandrelAgent") {
        std::optional<Code> result;
        services().Start(host, service, keep(result));
        EXPECT_TRUE(until([&] { return result.has_value(); }));
        return result.value_or(Code{-99, "no answer"});
    }
    Code stop(std::string_view host, std::string_view service = "zandrelAgent") {
        std::optional<Code> result;
        services().Stop(host, service, keep(result));
        EXPECT_TRUE(until([&] { return result.has_value(); }));
        return result.value_or(Code{-99, "no answer"});
    }
    bool kill(std::string_view host, std::string_view service = "zandrelAgent") {
        std::optional<bool> result;
        services().Kill(host, service, "zagent.exe", [&](bool ended) { result = ended; });
        EXPECT_TRUE(until([&] { return result.has_value(); }));
        return result.value_or(false);
    }
    void control(std::string_view host, int code, std::string_view service = "zandrelAgent") {
        services().Control(host, service, code);
        EXPECT_TRUE(until([&] { return !services().Busy(); }));
    }
    static std::function<void(long, const std::string&)> keep(std::optional<Code>& result) {
        return [&result](long code, const std::string& error) { result = Code{code, error}; };
    }
    static Milliseconds since(Clock::time_point begin) {
        return std::chrono::duration_cast<Milliseconds>(Clock::now() - begin);
    }

    std::string m_folder;
    ServiceOptions m_options; // to be set before services() is first used
    std::unique_ptr<EpollEvents> m_events = MakeEpollEvents();
    std::unique_ptr<Registry> m_registry;
    std::unique_ptr<Services> m_services;
};

} // namespace kr
