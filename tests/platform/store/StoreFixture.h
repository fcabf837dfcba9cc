#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "platform/store/sqlite/Organisation.h"

namespace kr {

/// A store file in a folder of its own, with the mailboxes "alice" and "bob" and public folders,
/// and processes beside the test that work on it.
class StoreFixture : public ::testing::Test {
protected:
    StoreFixture() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kr-store-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        std::filesystem::permissions(folder, std::filesystem::perms(0755));
        path = folder + "/org.kr";
        Organisation::Create(path);
        Organisation org(path);
        org.AddMailbox(person("alice", "Alice Adams"));
        org.AddMailbox(person("bob", "Bob Baker"));
        org.AddPublicStore("Public Folders");
    }
    ~StoreFixture() override {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    static NewAddressEntry person(const std::string& alias, const std::string& name) {
        NewAddressEntry entry;
        entry.dn = "/o=Example/ou=First/cn=Recipients/cn=" + alias;
        entry.name = name;
        entry.alias = alias;
        entry.smtp = alias + "@example.test";
        return entry;
    }
    static RDOFolderPtr inboxOf(RDOSession& session) {
        return session.GetDefaultFolder(static_cast<int>(DefaultFolder::Inbox));
    }
    static PropTag key(RDOProperties& object, std::string_view name,
                       PropType type = PropType::String) {
        return object.GetIDsFromNames(PS_PUBLIC_STRINGS, name) | static_cast<PropTag>(type);
    }
    static RDOMessagePtr add(const RDOFolderPtr& to, std::string_view subject) {
        auto message = to->Items()->Add("IPM.Note");
        message->SetSubject(subject);
        message->Save();
        return message;
    }
    /// The number of the error that the action raises; 0 when it raises none.
    static long failure(const std::function<void()>& action, std::string* words = nullptr) {
        try {
            action();
        } catch (const PlatformError& e) {
            if (words)
                *words = e.description();
            return e.number();
        }
        return 0;
    }
    static std::string contentOf(const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    static void write(const std::string& file, const std::string& content) {
        std::ofstream(file, std::ios::binary) << content;
    }

    /// Runs the work in a process of its own, which opens the file for itself.
    static pid_t start(const std::function<int()>& work) {
        const pid_t child = fork();
        if (child == 0) {
            int result = 99;
            try {
                result = work();
            } catch (const std::exception& e) {
                fprintf(stderr, "child: %s\n", e.what());
            }
            _exit(result);
        }
        return child;
    }
    /// Its exit status; -1 when a signal ended it.
    static int finish(pid_t child) {
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::vector<std::string> faults() const { return Organisation(path).Check(); }

    std::string folder;
    std::string path;
};

} // namespace kr
