#include "platform/services/scm/WorkerLine.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace kr {

namespace {

constexpr size_t kMostName = 256; // of a Windows service

std::string_view takeWord(std::string_view& text) {
    const size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

std::optional<long> numberOf(std::string_view text) {
    long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

bool isPlain(unsigned char c) { return c > ' ' && c != 0x7F; }

} // namespace

std::string WorkerRequest(const ServiceRequest& request) {
    const std::string& name = request.service;
    if (name.empty() || name.size() > kMostName || !std::ranges::all_of(name, isPlain))
        return {};
    switch (request.kind) {
    case ServiceRequest::Kind::Query:
        return "query " + name + "\n";
    case ServiceRequest::Kind::Start:
        return "start " + name + "\n";
    case ServiceRequest::Kind::Stop:
        return "stop " + name + "\n";
    case ServiceRequest::Kind::Control:
        return "control " + name + " " + std::to_string(request.control) + "\n";
    case ServiceRequest::Kind::Kill:
        break;
    }
    return {};
}

ServiceAnswer WorkerAnswer(std::string_view line) {
    std::string_view rest = line;
    const std::string_view verdict = takeWord(rest);
    if (verdict == "ok" && rest.empty())
        return {};
    if (verdict == "ok")
        if (const auto state = numberOf(rest); state && *state >= 1 && *state <= 7)
            return {0, {}, static_cast<SvcState>(*state)};
    if (verdict == "fail")
        if (const auto code = numberOf(takeWord(rest)); code && *code != 0)
            return {*code,
                    *code == ServiceUnknown ? std::string(kNoSuchService) : std::string(rest)};
    return {ServiceNotReachable, "The worker's answer makes no sense"};
}

bool IsPlainProgramName(std::string_view name) {
    const auto plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '.' || c == '-' || c == '_';
    };
    return !name.empty() && name.front() != '-' && std::ranges::all_of(name, plain);
}

} // namespace kr
