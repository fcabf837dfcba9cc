#include "platform/store/sqlite/Attachments.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

namespace kr::sqlite {

namespace {

constexpr int kMethodData = 1;
constexpr int kMethodEmbedded = 5;

[[noreturn]] void refuse(const std::string& what, const std::string& path) {
    throw PlatformError(MAPI_E_NO_ACCESS, what + " " + path + ": " + std::strerror(errno),
                        "RDOAttachment");
}

/// Only the last component, with either kind of slash.
std::string lastComponent(std::string_view path) {
    const size_t slash = path.find_last_of("/\\");
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

class Attachment : public RDOAttachment {
public:
    Attachment(SessionPtr session, std::shared_ptr<AttachmentData> data)
        : m_session(std::move(session)), m_data(std::move(data)) {}

    std::string DisplayName() const override { return m_data->name; }
    int64_t Size() const override { return m_data->size; }

    Bytes Content() const override {
        if (m_data->id == 0 || m_data->embedded != 0)
            return m_data->content;
        sqlite3_blob* blob = nullptr;
        sqlite3* db = m_session->file->db();
        const int rc = sqlite3_blob_open(db, "main", "attach_data", "data", m_data->id, 0, &blob);
        if (rc != SQLITE_OK)
            Fail(db, rc, "Attachment");
        const std::unique_ptr<sqlite3_blob, int (*)(sqlite3_blob*)> closer(blob,
                                                                           sqlite3_blob_close);
        Bytes bytes(static_cast<size_t>(sqlite3_blob_bytes(blob)));
        if (sqlite3_blob_read(blob, bytes.data(), static_cast<int>(bytes.size()), 0) != SQLITE_OK)
            Fail(db, SQLITE_IOERR, "Attachment");
        return bytes;
    }

    void SaveAsFile(const std::string& path) const override {
        const Bytes bytes = Content();
        const std::string fresh = path + ".new";
        {
            std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
            out.write(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()));
            out.flush();
            if (!out) {
                std::remove(fresh.c_str());
                refuse("Could not write", path);
            }
        }
        if (std::rename(fresh.c_str(), path.c_str()) != 0)
            refuse("Could not write", path);
    }

    RDOMessagePtr EmbeddedMessage() const override {
        if (m_data->pending)
            return m_data->pending;
        return m_data->embedded == 0 ? nullptr : OpenMessage(m_session, m_data->embedded);
    }
    void Delete() override { m_data->removed = true; }

private:
    SessionPtr m_session;
    std::shared_ptr<AttachmentData> m_data;
};

} // namespace

Attachments::Attachments(SessionPtr session, int64_t message) : m_session(std::move(session)) {
    if (message == 0)
        return;
    Use rows(
        m_session->file->Sql("SELECT id,name,size,embedded FROM attach WHERE msg=? ORDER BY n"));
    rows->Bind(1, message);
    while (rows->Step()) {
        auto data = std::make_shared<AttachmentData>();
        data->id = rows->Integer(0);
        data->name = rows->Text(1);
        data->size = rows->Integer(2);
        data->embedded = rows->Integer(3);
        m_items.push_back(std::move(data));
    }
}

std::shared_ptr<RDOAttachment> Attachments::wrap(const DataPtr& data) const {
    return std::make_shared<Attachment>(m_session, data);
}

int Attachments::Count() const {
    return static_cast<int>(
        std::ranges::count_if(m_items, [](const DataPtr& data) { return !data->removed; }));
}

std::shared_ptr<RDOAttachment> Attachments::Item(int index) const {
    int n = 0;
    for (const DataPtr& data : m_items)
        if (!data->removed && ++n == index)
            return wrap(data);
    throw PlatformError(MAPI_E_NOT_FOUND, "There is no such attachment.", "RDOAttachments");
}

std::shared_ptr<RDOAttachment> Attachments::Add(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in || std::filesystem::is_directory(path))
        refuse("Could not read", path);
    const Bytes content{std::istreambuf_iterator<char>(in), {}};
    return AddContent(path, content);
}

std::shared_ptr<RDOAttachment> Attachments::AddContent(std::string_view name, const Bytes& data) {
    auto item = std::make_shared<AttachmentData>();
    item->name = lastComponent(name);
    item->size = static_cast<int64_t>(data.size());
    item->content = data;
    m_items.push_back(item);
    return wrap(item);
}

std::shared_ptr<RDOAttachment> Attachments::AddMessage(const RDOMessage& message) {
    const auto id = ReadId(message.ID(), m_session->number);
    if (!id)
        throw PlatformError(MAPI_E_INVALID_ENTRYID, "Only a saved message can be attached.",
                            "RDOAttachments");
    auto item = std::make_shared<AttachmentData>();
    item->name = message.Subject();
    item->pending = OpenMessage(m_session, id->object);
    m_items.push_back(item);
    return wrap(item);
}

void Attachments::Save(int64_t message) {
    StoreFile& file = *m_session->file;
    int64_t n = 0;
    {
        Use last(file.Sql("SELECT coalesce(max(n),0) FROM attach WHERE msg=?"));
        last->Bind(1, message);
        last->Step();
        n = last->Integer(0);
    }
    for (const DataPtr& item : m_items) {
        if (item->removed && item->id != 0) {
            file.Sql("DELETE FROM attach_data WHERE id=?").Bind(1, item->id).Run();
            file.Sql("DELETE FROM attach WHERE id=?").Bind(1, item->id).Run();
            if (item->embedded != 0)
                DeleteMessage(file, item->embedded);
        }
        if (item->removed || item->id != 0)
            continue;
        if (item->pending)
            item->embedded =
                CopyMessage(file, ReadId(item->pending->ID(), m_session->number)->object, 0);
        file.Sql("INSERT INTO attach(msg,n,method,name,size,embedded) VALUES(?,?,?,?,?,?)")
            .Bind(1, message)
            .Bind(2, ++n)
            .Bind(3, item->pending ? kMethodEmbedded : kMethodData)
            .Bind(4, item->name)
            .Bind(5, item->size)
            .Bind(6, item->embedded)
            .Run();
        item->savedAs = sqlite3_last_insert_rowid(file.db());
        if (!item->pending)
            file.Sql("INSERT INTO attach_data VALUES(?,?)")
                .Bind(1, item->savedAs)
                .BindBlob(
                    2, {reinterpret_cast<const char*>(item->content.data()), item->content.size()})
                .Run();
    }
}

void Attachments::Saved() {
    std::erase_if(m_items, [](const DataPtr& item) { return item->removed; });
    for (const DataPtr& item : m_items) {
        if (item->savedAs != 0)
            item->id = std::exchange(item->savedAs, 0);
        item->pending.reset();
        item->content.clear();
    }
}

} // namespace kr::sqlite
