#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "core/basStore.h"
#include "push/basMBL.h"
#include "push/basMPL.h"
#include "tests/support/World.h"

namespace kr {

/// Says Cancel from the look on that a test names; -1: never.
struct CountedProgress : Progress {
    int cancelAt = -1;
    mutable int looks = 0;
    int64_t done = 0, total = 0;
    void SetText(std::string_view) override {}
    void SetValue(int64_t value, int64_t of) override {
        done = value;
        total = of;
    }
    bool Cancelled() const override { return cancelAt >= 0 && ++looks >= cancelAt; }
};

inline std::string FileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

using RecordKeys = std::map<std::string, Value>;

/// A world with the two folders of lists, and files beside them.
struct BackupWorld : World {
    BackupWorld() {
        LogOnConfigured();
        browser = GetMblFolder(*session);
        push = GetMplFolder(*session);
    }
    std::string file(const std::string& name) const { return folder() + "/" + name; }
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(file(name), std::ios::binary) << text;
        return file(name);
    }
    static RDOMessagePtr add(const RDOFolderPtr& to, std::string_view messageClass,
                             std::string_view subject, const RecordKeys& keys = {}) {
        RDOMessagePtr message = to->Items()->Add(messageClass);
        message->SetSubject(subject);
        for (const auto& [key, value] : keys)
            SetKey(*message, key, value);
        message->Save();
        return message;
    }
    static std::vector<std::string> subjects(const RDOFolderPtr& in) {
        std::vector<std::string> all;
        for (int i = 1; i <= in->Items()->Count(); ++i)
            all.push_back(in->Items()->Item(i)->Subject());
        return all;
    }
    /// Files of that folder, so that a test sees what was left behind.
    std::vector<std::string> files(const std::string& under) const {
        std::vector<std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator(file(under)))
            all.push_back(entry.path().filename().string());
        return all;
    }

    RDOFolderPtr browser, push;
    CountedProgress progress;
};

} // namespace kr
