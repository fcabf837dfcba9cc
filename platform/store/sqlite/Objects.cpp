#include "platform/store/sqlite/Objects.h"

#include "platform/store/sqlite/Random.h"

namespace kr::sqlite {

SessionState::SessionState(std::shared_ptr<StoreFile> file, StoreRef mailbox)
    : m_file(std::move(file)), m_mailbox(std::move(mailbox)), m_number(RandomNumber()) {}

std::optional<ObjectId> SessionState::Read(const EntryID& id) const {
    auto object = ReadId(id);
    if (!object || !object->guid.empty())
        return object;
    if (object->session != static_cast<uint64_t>(m_number))
        return std::nullopt;
    const StoreRef store = file().StoreOfFolder(
        object->kind == ObjectId::Message ? MessageFolder(object->object) : object->object);
    object->guid = store ? store->guid : std::string();
    object->session = 0;
    return object;
}

} // namespace kr::sqlite
