#include "core/basService.h"

#include <algorithm>
#include <memory>

namespace kr {

namespace {

using std::chrono::steady_clock;

/// Short enough for a window to answer within 50 ms.
constexpr auto kTurn = std::chrono::milliseconds(5);
/// The service seam has its own deadline; this is the last one.
constexpr auto kPatience = std::chrono::seconds(3);

void runUntil(AgentSession& session, const bool& done, steady_clock::time_point end) {
    while (!done) {
        const auto left = end - steady_clock::now();
        if (left <= steady_clock::duration::zero())
            return;
        const auto turn = std::chrono::ceil<std::chrono::milliseconds>(left);
        session.platform.events.Run(std::min(turn, kTurn));
        session.ui().DoEvents();
    }
}

/// The answer of one call; shared, as it may come after the caller has gone.
template <class T>
struct Answer {
    bool given = false;
    T value{};
};

/// Begins a call with the answer to fill and waits for it.
template <class T, class Begin>
Answer<T> wait(AgentSession& session, Begin begin) {
    auto answer = std::make_shared<Answer<T>>();
    begin(answer);
    runUntil(session, answer->given, steady_clock::now() + kPatience);
    return *answer;
}

std::function<void(long, const std::string&)>
into(const std::shared_ptr<Answer<ServiceResult>>& answer) {
    return [answer](long code, const std::string& error) {
        answer->value = {true, code, error};
        answer->given = true;
    };
}

} // namespace

SvcState QueryService(AgentSession& session, std::string_view host, std::string_view service) {
    const auto answer = wait<SvcState>(session, [&](auto given) {
        given->value = SvcState::Failed;
        session.platform.services.Query(host, service, [given](SvcState state, const std::string&) {
            given->value = state;
            given->given = true;
        });
    });
    return answer.value;
}

ServiceResult StartService(AgentSession& session, std::string_view host, std::string_view service) {
    return wait<ServiceResult>(
               session,
               [&](auto given) { session.platform.services.Start(host, service, into(given)); })
        .value;
}

ServiceResult StopService(AgentSession& session, std::string_view host, std::string_view service) {
    return wait<ServiceResult>(
               session,
               [&](auto given) { session.platform.services.Stop(host, service, into(given)); })
        .value;
}

bool KillService(AgentSession& session, std::string_view host, std::string_view service,
                 std::string_view program) {
    return wait<bool>(session,
                      [&](auto given) {
                          session.platform.services.Kill(host, service, program,
                                                         [given](bool ended) {
                                                             given->value = ended;
                                                             given->given = true;
                                                         });
                      })
        .value;
}

void RunEventsFor(AgentSession& session, std::chrono::milliseconds time) {
    const bool never = false;
    session.ui().DoEvents();
    runUntil(session, never, steady_clock::now() + time);
    session.ui().DoEvents();
}

} // namespace kr
