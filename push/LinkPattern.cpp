#include "push/LinkPattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <stdexcept>
#include <string>

namespace kr {

namespace {

constexpr uint32_t kMatchLimit = 1'000'000; // for each place to begin at
constexpr uint32_t kDepthLimit = 10'000;
constexpr size_t kJitStack = 512 << 10;

} // namespace

struct LinkPattern::Compiled {
    explicit Compiled(pcre2_code* c) : code(c) {
        // a pattern of this program's own: without the compiler it is slower, and still limited
        pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
        pcre2_set_match_limit(context, kMatchLimit);
        pcre2_set_depth_limit(context, kDepthLimit);
        pcre2_jit_stack_assign(context, nullptr, stack);
    }
    ~Compiled() {
        pcre2_match_data_free(data);
        pcre2_match_context_free(context);
        pcre2_jit_stack_free(stack);
        pcre2_code_free(code);
    }
    Compiled(const Compiled&) = delete;
    Compiled& operator=(const Compiled&) = delete;

    /// Number of filled pairs, 0 for no match or for one that reached a limit.
    int Match(std::string_view text, size_t from) const {
        const int result = pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(),
                                       from, 0, data, context);
        return result > 0 ? result : 0;
    }

    pcre2_code* code;
    pcre2_match_data* data = pcre2_match_data_create_from_pattern(code, nullptr);
    pcre2_match_context* context = pcre2_match_context_create(nullptr);
    pcre2_jit_stack* stack = pcre2_jit_stack_create(kJitStack, kJitStack, nullptr);
};

LinkPattern::LinkPattern(const char* pattern) {
    int error = 0;
    PCRE2_SIZE offset = 0;
    pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED,
                                     PCRE2_CASELESS | PCRE2_MULTILINE, &error, &offset, nullptr);
    if (!code)
        throw std::invalid_argument("no regular expression: " + std::string(pattern));
    m_compiled = std::make_unique<Compiled>(code);
}

LinkPattern::~LinkPattern() = default;

void LinkPattern::EachMatch(
    std::string_view text,
    const std::function<void(const std::vector<std::string_view>&)>& match) const {
    const PCRE2_SIZE* places = pcre2_get_ovector_pointer(m_compiled->data);
    std::vector<std::string_view> parts;
    for (size_t at = 0; at <= text.size();) {
        const int count = m_compiled->Match(text, at);
        if (count == 0)
            return;
        parts.clear();
        for (int i = 1; i < count; ++i) {
            const PCRE2_SIZE begin = places[2 * i], end = places[2 * i + 1];
            parts.push_back(begin == PCRE2_UNSET ? std::string_view()
                                                 : text.substr(begin, end - begin));
        }
        const size_t end = places[1];
        at = end > places[0] ? end : end + 1;
        match(parts);
    }
}

bool LinkPattern::Matches(std::string_view text) const { return m_compiled->Match(text, 0) > 0; }

} // namespace kr
