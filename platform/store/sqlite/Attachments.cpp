#include "platform/store/sqlite/Attachments.h"

#include <algorithm>
#include <utility>

#include "platform/store/sqlite/AttachmentFile.h"
#include "platform/store/sqlite/Message.h"
#include "platform/store/sqlite/MessageRows.h"

namespace kr::sqlite {

namespace {

constexpr const char* kSource = "RDOAttachments";
constexpr int kMethodData = 1, kMethodEmbedded = 5; // ATTACH_BY_VALUE, ATTACH_EMBEDDED_MSG

/// Only the last component, with either kind of slash.
std::string lastComponent(std::string_view path) {
    const size_t slash = path.find_last_of("/\\");
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

class Attachment : public RDOAttachment {
public:
    Attachment(SessionPtr session, StoreRef store, std::shared_ptr<AttachmentData> data)
        : m_session(std::move(session)), m_store(std::move(store)), m_data(std::move(data)) {}

    std::string DisplayName() const override { return m_data->name; }
    int64_t Size() const override { return m_data->size; }

    Bytes Content() const override {
        if (m_data->isMessage)
            return {};
        if (m_data->id == 0)
            return m_data->content;
        AttachmentReader reader(m_session->file(), *m_data);
        Bytes bytes(static_cast<size_t>(reader.Size()));
        reader.Read(0, bytes.data(), bytes.size());
        return bytes;
    }

    void SaveAsFile(const std::string& path) const override {
        if (m_data->isMessage)
            Refuse(MAPI_E_NO_SUPPORT, "An attached message can't be saved as a file.", kSource);
        WholeFile file(path);
        if (m_data->id == 0) {
            file.Write(m_data->content.data(), m_data->content.size());
        } else {
            AttachmentReader reader(m_session->file(), *m_data);
            reader.CopyTo(file);
        }
        file.Finish();
    }

    RDOMessagePtr EmbeddedMessage() const override {
        if (!m_data->isMessage)
            return nullptr;
        return OpenEmbedded(m_session, m_data->id == 0 ? m_data->source : m_store,
                            m_data->embedded);
    }
    void Delete() override { m_data->removed = true; }

private:
    SessionPtr m_session;
    StoreRef m_store;
    std::shared_ptr<AttachmentData> m_data;
};

} // namespace

Attachments::Attachments(SessionPtr session, StoreRef store, int64_t message)
    : m_session(std::move(session)), m_store(std::move(store)) {
    if (message == 0)
        return;
    Use rows = m_session->file().Query(
        "SELECT id,name,size,embedded FROM attach WHERE msg=? ORDER BY n", message);
    while (rows->Step()) {
        auto data = std::make_shared<AttachmentData>();
        data->id = rows->Integer(0);
        data->message = message;
        data->name = rows->Text(1);
        data->size = rows->Integer(2);
        data->embedded = rows->Integer(3);
        data->isMessage = data->embedded != 0;
        m_items.push_back(std::move(data));
    }
}

int Attachments::Count() const {
    return static_cast<int>(
        std::ranges::count_if(m_items, [](const DataPtr& item) { return !item->removed; }));
}

std::shared_ptr<RDOAttachment> Attachments::wrap(const DataPtr& data) const {
    return std::make_shared<Attachment>(m_session, m_store, data);
}

std::shared_ptr<RDOAttachment> Attachments::Item(int index) const {
    int n = 0;
    for (const DataPtr& item : m_items)
        if (!item->removed && ++n == index)
            return wrap(item);
    Refuse(MAPI_E_NOT_FOUND, "There is no such attachment.", kSource);
}

std::shared_ptr<RDOAttachment> Attachments::Add(const std::string& path) {
    return AddContent(path, ReadWholeFile(path));
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
    const auto* stored = dynamic_cast<const Message*>(&message);
    if (!stored || stored->RowId() == 0 || stored->HasChanges())
        Refuse(MAPI_E_NO_SUPPORT, "Only a saved message can be attached.", kSource);
    auto item = std::make_shared<AttachmentData>();
    item->name = message.Subject();
    item->isMessage = true;
    item->embedded = stored->RowId();
    item->source = stored->StoreOf();
    m_items.push_back(item);
    return wrap(item);
}

bool Attachments::Changed() const {
    return std::ranges::any_of(m_items,
                               [](const DataPtr& item) { return item->removed || item->id == 0; });
}

bool Attachments::Write(int64_t message) {
    StoreFile& file = m_session->file();
    int64_t n = file.Number(0, "SELECT max(n) FROM attach WHERE msg=?", message);
    for (const DataPtr& item : m_items)
        if (item->removed && item->id != 0)
            remove(*item);
        else if (!item->removed && item->id == 0)
            insert(*item, message, ++n);
    return file.Number(0, "SELECT 1 FROM attach WHERE msg=?", message) != 0;
}

void Attachments::remove(const AttachmentData& data) {
    StoreFile& file = m_session->file();
    file.Run("DELETE FROM attach_data WHERE id=?", data.id);
    file.Run("DELETE FROM attach WHERE id=?", data.id);
    if (data.embedded != 0)
        DeleteMessage(*m_session, *m_store, data.embedded);
}

void Attachments::insert(AttachmentData& data, int64_t message, int64_t n) {
    StoreFile& file = m_session->file();
    const int64_t embedded =
        data.isMessage ? CopyMessage(*m_session, data.embedded, *data.source, 0, *m_store) : 0;
    const int64_t size = data.isMessage
                             ? file.Number(0, "SELECT length(body) FROM msg WHERE id=?", embedded)
                             : data.size;
    file.Run("INSERT INTO attach(msg,n,method,name,size,embedded) VALUES(?,?,?,?,?,?)", message, n,
             data.isMessage ? kMethodEmbedded : kMethodData, data.name, size, embedded);
    data.written = sqlite3_last_insert_rowid(file.db());
    if (!data.isMessage)
        file.Run("INSERT INTO attach_data(id,data) VALUES(?,?)", data.written,
                 Blob{{reinterpret_cast<const char*>(data.content.data()), data.content.size()}});
}

void Attachments::Saved(int64_t message) {
    std::erase_if(m_items, [](const DataPtr& item) { return item->removed; });
    for (const DataPtr& item : m_items) {
        if (item->id != 0)
            continue;
        item->id = std::exchange(item->written, 0);
        item->message = message;
        item->content = {};
        if (item->isMessage) {
            Use row =
                m_session->file().Query("SELECT embedded,size FROM attach WHERE id=?", item->id);
            if (row->Step()) {
                item->embedded = row->Integer(0);
                item->size = row->Integer(1);
            }
            item->source.reset();
        }
    }
}

} // namespace kr::sqlite
