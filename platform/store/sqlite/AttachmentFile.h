#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>

#include "platform/store/sqlite/Attachments.h"

namespace kr::sqlite {

/// A file that appears under its name when it is complete, or not at all.
class WholeFile {
public:
    explicit WholeFile(std::string path);
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;
    void Write(const void* data, size_t size);
    void Finish();

private:
    [[noreturn]] void fail();

    std::string m_path;
    std::string m_fresh;
    int m_file = -1;
};

/// The content of a file to attach; throws with the reason.
Bytes ReadWholeFile(const std::string& path);

/// Reads an attachment's content in parts.
class AttachmentReader {
public:
    /// Throws MAPI_E_OBJECT_DELETED when the attachment is gone.
    AttachmentReader(StoreFile& file, const AttachmentData& data);
    int64_t Size() const;
    void Read(int64_t at, void* to, size_t size);
    void CopyTo(WholeFile& out);

private:
    StoreFile& m_file;
    std::unique_ptr<sqlite3_blob, int (*)(sqlite3_blob*)> m_blob;
};

} // namespace kr::sqlite
