#include "console/kinds/FixedKinds.h"

#include "console/Console.h"
#include "console/kinds/UserKinds.h"

namespace kr {

namespace {

/// What a fixed node is until, or unless, the subsystem that owns it registers its own kind.
struct FixedNodeKind {
    std::string_view tag;
    std::string_view status;
    bool report = false;
};
constexpr FixedNodeKind kFixed[] = {
    {"agent", ""},
    {"mgmt", ""},
    {"epsroot", ""},
    {"persroot", ""},
    {"bsrroot", Console::kMissingFeature, true},
};

class FixedKind : public NodeKind {
public:
    explicit FixedKind(const FixedNodeKind& fixed)
        : NodeKind(std::string(fixed.tag)), m_fixed(fixed) {}
    void Load(Console& console, TreeNode&) override {
        console.ClearListView();
        console.ShowStatus(m_fixed.status);
    }
    bool ShowsReport() const override { return m_fixed.report; }

private:
    const FixedNodeKind& m_fixed;
};

} // namespace

void RegisterFixedKinds(Console& console) {
    for (const FixedNodeKind& fixed : kFixed)
        console.RegisterKind(std::make_unique<FixedKind>(fixed));
    RegisterUserKinds(console);
}

} // namespace kr
