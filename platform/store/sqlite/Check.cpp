#include "platform/store/sqlite/Check.h"

#include "platform/store/sqlite/Index.h"
#include "platform/store/sqlite/PropertyBag.h"

namespace kr::sqlite {

namespace {

struct Reference {
    const char* sql;
    const char* words;
};
/// Each query counts rows that refer to something that isn't there.
constexpr Reference kReferences[] = {
    {"SELECT count(*) FROM folder WHERE store NOT IN (SELECT id FROM store)",
     "folders without a store"},
    {"SELECT count(*) FROM folder WHERE parent<>0 AND parent NOT IN (SELECT id FROM folder)",
     "folders without a parent"},
    {"SELECT count(*) FROM store WHERE root NOT IN (SELECT id FROM folder) OR ipm_root NOT IN "
     "(SELECT id FROM folder)",
     "stores without a root folder"},
    {"SELECT count(*) FROM msg WHERE (id>>41)<>0 AND (id>>41) NOT IN (SELECT id FROM folder)",
     "messages without a folder"},
    {"SELECT count(*) FROM msg WHERE (id>>41)=0 AND id NOT IN (SELECT embedded FROM attach)",
     "attached messages without an attachment"},
    {"SELECT count(*) FROM msg WHERE class NOT IN (SELECT id FROM msg_class)",
     "messages without a class"},
    {"SELECT count(*) FROM big WHERE owner NOT IN (SELECT id FROM msg)",
     "long values without a message"},
    {"SELECT count(*) FROM recipient WHERE msg NOT IN (SELECT id FROM msg)",
     "recipients without a message"},
    {"SELECT count(*) FROM attach WHERE msg NOT IN (SELECT id FROM msg)",
     "attachments without a message"},
    {"SELECT count(*) FROM attach WHERE embedded=0 AND id NOT IN (SELECT id FROM attach_data)",
     "attachments without content"},
    {"SELECT count(*) FROM attach_data WHERE id NOT IN (SELECT id FROM attach)",
     "contents without an attachment"},
    {"SELECT count(*) FROM ab_member WHERE list NOT IN (SELECT id FROM ab_entry) OR member NOT IN "
     "(SELECT id FROM ab_entry)",
     "list members without an address entry"},
    {"SELECT count(*) FROM ab_proxy WHERE entry NOT IN (SELECT id FROM ab_entry)",
     "addresses without an address entry"},
};

class Checker {
public:
    explicit Checker(StoreFile& file) : m_file(file) {}

    std::vector<std::string> Run() {
        step([&] { integrity(); });
        for (const Reference& reference : kReferences)
            step([&] { count(m_file.Number(0, reference.sql), reference.words); });
        step([&] { records(); });
        step([&] { index(); });
        return std::move(m_faults);
    }

private:
    /// What can't even be read is a fault like others.
    template <class Step>
    void step(Step run) {
        try {
            run();
        } catch (const PlatformError& e) {
            m_faults.push_back(e.description());
        }
    }
    void count(int64_t faults, const char* words) {
        if (faults > 0)
            m_faults.push_back(std::to_string(faults) + " " + words);
    }
    void integrity() {
        Use rows = m_file.Query("PRAGMA integrity_check");
        while (rows->Step())
            if (const std::string_view text = rows->Text(0); text != "ok")
                m_faults.emplace_back(text);
    }
    void records() {
        int64_t bad = 0, missing = 0;
        Use rows = m_file.Query("SELECT id,body FROM msg");
        while (rows->Step()) {
            BlobReader reader(rows->Text(1));
            for (RawProperty property; reader.Next(property);)
                if (property.isLong &&
                    m_file.Number(-1, "SELECT length(value) FROM big WHERE owner=? AND tag=?",
                                  rows->Integer(0),
                                  PropId(property.tag)) != static_cast<int64_t>(property.length))
                    ++missing;
            bad += reader.Bad() ? 1 : 0;
        }
        count(bad, "messages with unreadable properties");
        count(missing, "long values missing or cut off");
    }
    /// Every entry that a message has to have is there, and no others.
    void index() {
        int64_t wanted = 0, missing = 0;
        Use rows = m_file.Query("SELECT id FROM msg WHERE (id>>41)<>0");
        while (rows->Step()) {
            const int64_t id = rows->Integer(0), folder = MessageFolder(id);
            const StoreRef store = m_file.StoreOfFolder(folder);
            for (const IndexEntry& entry :
                 store ? IndexEntriesOf(m_file, store->id, id) : std::vector<IndexEntry>()) {
                ++wanted;
                missing += m_file.Number(
                    1, "SELECT 0 FROM pidx WHERE folder=? AND tag=? AND key=? AND msg=?", folder,
                    entry.id, entry.key, id);
            }
        }
        count(missing, "entries missing in the index");
        count(m_file.Number(0, "SELECT count(*) FROM pidx") - (wanted - missing),
              "entries too many in the index");
    }

    StoreFile& m_file;
    std::vector<std::string> m_faults;
};

} // namespace

std::vector<std::string> CheckStore(StoreFile& file) { return Checker(file).Run(); }

} // namespace kr::sqlite
