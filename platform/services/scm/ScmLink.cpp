#include "platform/services/scm/ScmLink.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "platform/services/scm/WorkerLine.h"

namespace kr {

namespace {

class ScmLink : public ServiceLink {
public:
    ScmLink(Events& events, ScmSettings settings, std::string host)
        : m_events(events), m_settings(std::move(settings)), m_host(std::move(host)),
          m_alive(std::make_shared<int>(0)) {}
    ~ScmLink() override { drop(); }

    void Begin(const ServiceRequest& request, Done done) override;
    void Abandon() override {
        ++m_number;
        m_done = nullptr;
        m_taskkill.reset();
        drop();
    }
    bool Connected() const override { return m_heard; }

private:
    void ask(const std::string& line);
    bool startWorker();
    void onReadable();
    void onLine(std::string_view line);
    void onWorkerEnd(int exitCode);
    void endProcess(const std::string& program);
    void drop();
    void finishSoon(ServiceAnswer answer);
    void finish(const ServiceAnswer& answer);

    Events& m_events;
    ScmSettings m_settings;
    std::string m_host;
    std::unique_ptr<ChildProcess> m_worker;
    std::unique_ptr<ChildProcess> m_taskkill;
    Events::Id m_watch = 0;
    std::string m_input;
    bool m_heard = false; // this worker has answered
    Done m_done;
    uint64_t m_number = 0; // of the request under way
    std::shared_ptr<int> m_alive;
};

void ScmLink::Begin(const ServiceRequest& request, Done done) {
    ++m_number;
    m_done = std::move(done);
    if (request.kind == ServiceRequest::Kind::Kill) {
        endProcess(request.program);
        return;
    }
    const std::string line = WorkerRequest(request);
    if (line.empty())
        finishSoon({ServiceUnknown, std::string(kNoSuchService)});
    else
        ask(line);
}

void ScmLink::ask(const std::string& line) {
    const bool kept = m_worker != nullptr;
    if (!kept && !startWorker())
        return;
    const auto sent = [&] {
        return send(m_worker->fd(), line.data(), line.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(line.size());
    };
    if (sent() || !kept)
        return; // what a fresh worker fails of comes with its end
    // a worker that ended between two requests; its end is not yet heard of
    drop();
    if (startWorker())
        sent();
}

bool ScmLink::startWorker() {
    std::vector<std::string> command = m_settings.worker;
    command.push_back(m_host);
    m_heard = false;
    m_input.clear();
    m_worker =
        std::make_unique<ChildProcess>(m_events, command, [this](int code) { onWorkerEnd(code); });
    if (const int error = m_worker->error(); error != 0) {
        m_worker.reset();
        finishSoon({ServiceNotReachable,
                    "The program " + command.front() + " can't be started: " + strerror(error)});
        return false;
    }
    m_watch =
        m_events.AddWatch(m_worker->fd(), Events::Readable, [this](unsigned) { onReadable(); });
    return true;
}

void ScmLink::onReadable() {
    char buffer[1024];
    const ssize_t got = recv(m_worker->fd(), buffer, sizeof buffer, 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    // how it ended comes by onWorkerEnd
    if (got <= 0 || m_input.size() + static_cast<size_t>(got) > kMostWorkerLine) {
        m_events.Cancel(std::exchange(m_watch, 0));
        if (got > 0)
            onWorkerEnd(0);
        return;
    }
    m_input.append(buffer, static_cast<size_t>(got));
    const size_t end = m_input.find('\n');
    if (end == std::string::npos)
        return;
    const std::string line = m_input.substr(0, end);
    m_input.erase(0, end + 1);
    onLine(line);
}

void ScmLink::onLine(std::string_view line) {
    m_heard = true;
    finish(WorkerAnswer(line));
}

void ScmLink::onWorkerEnd(int) {
    const std::string words = m_worker->LastWords();
    drop();
    finish({ServiceNotReachable, "The service manager of " + m_host + " can't be reached: " +
                                     (words.empty() ? "the worker ended" : words)});
}

void ScmLink::drop() {
    m_events.Cancel(std::exchange(m_watch, 0));
    m_worker.reset();
    m_heard = false;
}

void ScmLink::endProcess(const std::string& program) {
    if (!IsPlainProgramName(program)) {
        finishSoon({ServiceUnknown, "\"" + program + "\" is not the name of a program"});
        return;
    }
    const auto command = SshCommand(m_settings.ssh, m_host, {"taskkill", "/F", "/IM", program});
    const auto onEnd = [this](int exitCode) {
        const std::string words = m_taskkill->LastWords();
        m_taskkill.reset();
        ServiceAnswer answer{exitCode, exitCode == 0 ? std::string() : words};
        answer.ended = exitCode == 0;
        finish(answer);
    };
    m_taskkill = std::make_unique<ChildProcess>(m_events, command, onEnd);
    if (const int error = m_taskkill->error(); error != 0)
        finishSoon({ServiceNotReachable, strerror(error)});
}

void ScmLink::finishSoon(ServiceAnswer answer) {
    m_events.Post(
        [this, weak = std::weak_ptr(m_alive), number = m_number, answer = std::move(answer)] {
            if (!weak.expired() && m_number == number)
                finish(answer);
        });
}

void ScmLink::finish(const ServiceAnswer& answer) {
    if (const Done done = std::exchange(m_done, nullptr))
        done(answer);
}

} // namespace

std::unique_ptr<ServiceLink> MakeScmLink(Events& events, ScmSettings settings, std::string host) {
    return std::make_unique<ScmLink>(events, std::move(settings), std::move(host));
}

std::string FindScmWorker() {
    constexpr const char* kName = "kr-scm-worker";
    std::error_code unknown;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", unknown);
    const auto folder = self.parent_path();
    for (const auto& path : {folder / kName, folder.parent_path() / "libexec/zandrel" / kName})
        if (access(path.c_str(), X_OK) == 0)
            return path.string();
    return std::string(kName);
}

} // namespace kr
