#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/Messages.h"
#include "platform/xml/Xml.h"

/// A message of the store as an element of a backup file, and back. The element has the attributes
/// `MessageClass`, `Subject` and `LastModified`, and a child for each named property: its name with
/// an underscore for each blank, the attribute `Type`, and the value as text; a list of values has
/// children of its own. Reading turns every underscore into a blank, also one that was there
/// before: deliberate, the files stay exchangeable.
namespace kr {

/// Whether the pictures of browser channels belong to the messages of a file.
enum class RecordIcons { Left, Taken };

/// Adds an element of that name for a message. Throws PlatformError where the store does, and for
/// a property whose name can't be an element's.
XmlNode AddRecord(XmlNode parent, std::string_view element, RDOMessage& message,
                  RecordIcons icons = RecordIcons::Left);

struct BackupProperty {
    std::string name;
    PropType type = PropType::Unspecified;
    Value value;
};
struct BackupIcon {
    std::string name;
    Bytes png;
};
/// All that a message is made of again.
struct BackupRecord {
    std::string messageClass;
    std::string subject;
    std::vector<BackupProperty> properties;
    std::vector<BackupIcon> icons;
    /// Names of properties that the file has, but not in a form that can be restored.
    std::vector<std::string> skipped;
};

/// Reads the elements of one file. A store never forgets the name of a property and has room for
/// some 32,000, so a file may not bring more than kMostNames.
class RecordReader {
public:
    static constexpr size_t kMostNames = 2000;

    explicit RecordReader(RecordIcons icons = RecordIcons::Left) : m_icons(icons) {}
    /// Throws PlatformError for an element that holds something else than it says.
    BackupRecord Read(XmlNode element);

private:
    void readProperty(XmlNode element, BackupRecord& record);

    RecordIcons m_icons;
    std::set<std::string, std::less<>> m_names;
};

/// Writes the record into a message, all but its class; the caller saves it.
void FillMessage(RDOMessage& message, const BackupRecord& record);

} // namespace kr
