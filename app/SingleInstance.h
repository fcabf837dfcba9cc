#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace kr {

/// Keeps the program to one running copy for each person, as a named mutex does: a lock on
/// `<folder>/<name>.lock`, which the system frees when its holder ends in whatever way. The first
/// copy listens on a socket beside it; a second copy asks it there to show itself
/// ("raise <token>", answered with "ok"), and where no answer comes looks for the window itself.
class SingleInstance {
public:
    /// OtherNotFound: another copy runs, and neither it nor its window could be reached.
    enum class Result { First, RaisedOther, OtherNotFound };

    /// The folder is $XDG_RUNTIME_DIR, else one in /tmp that this person alone may enter.
    explicit SingleInstance(std::string name = "KR-Admin", std::string folder = {});
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// `title` is the title of the first copy's window; case does not matter. Takes up to some
    /// three seconds in a second copy. Where no lock can be had at all the run counts as the first.
    Result Acquire(std::string_view title);

    /// Readable when a second copy has something to say; -1 but in a first copy. Then call Process.
    int fd() const { return m_epoll; }
    void Process();
    /// Called by Process with the activation token of the second copy, which may be empty.
    void OnRaise(std::function<void(std::string token)> raise) { m_raise = std::move(raise); }

private:
    bool lock();
    void listen();
    void accept();
    void read(int client);
    void drop(int client);
    bool askFirst() const;
    std::string path(std::string_view ending) const;

    std::string m_name;
    std::string m_folder;
    std::function<void(std::string)> m_raise;
    int m_lock = -1;
    int m_listener = -1;
    int m_epoll = -1;
    std::map<int, std::string> m_clients; // what each has sent so far
};

/// Looks through all windows of the X server for the first with this title, ignoring case, restores
/// it if it is minimised and brings it to the front. False when there is none or no X server.
bool RaiseWindow(std::string_view title);

} // namespace kr
