#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// A list of texts that grows in steps and gives them as one text. Wrong arguments are raised as
/// PlatformError.
class StringBuilder {
public:
    long lCount() const { return m_count; }
    long lCapacity() const { return m_capacity; }
    long lGrowthRate() const { return m_growthRate; }
    /// At least 1, else the rate stays and error 0x800403E8 is raised.
    void lGrowthRate(long rate);

    void Add(std::string_view text);
    /// The text at that place. Deliberately an index equal to the count is one of the list: it
    /// gives the empty slot behind the last text. Beyond it "Index out of bounds".
    const std::string& Item(long index) const;
    /// At least 1, else error 0x800403EB; nothing happens once there is a text.
    void SetInitialCapacity(long capacity);
    /// All texts with nothing between them; the capacity is then the count.
    std::string GetContent();

private:
    std::vector<std::string> m_items; // made at the first Add, as long as the capacity
    long m_count = 0;
    long m_capacity = 50;
    long m_growthRate = 50;
};

} // namespace kr
