#pragma once

#include <gtest/gtest.h>
#include <unistd.h>
#include <zip.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "platform/database/Provider.h"
#include "platform/events/epoll/EpollEvents.h"

namespace kr {

/// A folder of data files, and databases over them.
class LocalFilesTest : public testing::Test {
protected:
    LocalFilesTest() {
        char pattern[] = "/tmp/kr-local-XXXXXX";
        folder = mkdtemp(pattern);
    }
    ~LocalFilesTest() override { std::filesystem::remove_all(folder); }
    void write(const std::string& name, std::string_view text) const {
        std::ofstream(folder / name, std::ios::binary) << text;
    }
    std::unique_ptr<Database> text(const std::string& more = "HDR=Yes;FMT=Delimited") {
        return provider->Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + folder.string() +
                              ";Extended Properties=\"text;" + more + "\";");
    }
    std::unique_ptr<Database> excel(const std::string& name) {
        return provider->Open(
            "Provider=Microsoft.ACE.OLEDB.12.0;Data Source=" + (folder / name).string() +
            ";Extended Properties=\"Excel 12.0 Xml;HDR=YES\";");
    }
    std::unique_ptr<Database> access(const std::string& name, const DbLimits& limits = {}) {
        return provider->Open(
            "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + (folder / name).string() + ";",
            limits);
    }
    void zip(const std::string& name, const std::map<std::string, std::string>& parts) const {
        int error = 0;
        zip_t* package = zip_open((folder / name).c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
        ASSERT_NE(package, nullptr);
        for (const auto& [path, body] : parts)
            zip_file_add(package, path.c_str(),
                         zip_source_buffer(package, body.data(), body.size(), 0), 0);
        ASSERT_EQ(zip_close(package), 0);
    }
    static long numberOf(const std::function<void()>& call, std::string* reason = nullptr) {
        try {
            call();
        } catch (const PlatformError& e) {
            if (reason)
                *reason = e.description();
            return e.number();
        }
        return 0;
    }

    std::filesystem::path folder;
    std::unique_ptr<Events> events = std::make_unique<EpollEvents>();
    std::unique_ptr<DatabaseProvider> provider = MakeDatabaseProvider(*events);
};

} // namespace kr
