#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/services/scm/WorkerLine.h"

/// Any line as a worker's answer: a state only with success, a text only with a failure; and any
/// text as a service's name: one line or none.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const kr::ServiceAnswer answer = kr::WorkerAnswer(text);
    const auto state = static_cast<int>(answer.state);
    if (answer.ended || (answer.code != 0 && state != -1) ||
        (answer.code == 0 && !answer.error.empty()))
        std::abort();
    if (state != -1 && (state < 1 || state > 7))
        std::abort();
    const std::string line =
        kr::WorkerRequest({kr::ServiceRequest::Kind::Query, std::string(text)});
    if (!line.empty() && line.find('\n') != line.size() - 1)
        std::abort();
    return 0;
}
