#pragma once

#include <string>
#include <string_view>

#include "platform/services/ServiceLink.h"

namespace kr {

/// The lines between the console and kr-scm-worker, one for each request and one for each answer:
///     query SERVICE | start SERVICE | stop SERVICE | control SERVICE CODE
///     ok [STATE] | fail CODE [TEXT]
inline constexpr size_t kMostWorkerLine = 4096;

/// With the line's end; "" when the service's name can't be sent.
std::string WorkerRequest(const ServiceRequest& request);
/// A line that makes no sense is a failure.
ServiceAnswer WorkerAnswer(std::string_view line);

/// Letters, digits, dot, hyphen and underline, as no command line gives them a meaning.
bool IsPlainProgramName(std::string_view name);

} // namespace kr
