#include "platform/events/qt/QtEventsBridge.h"

namespace kr {

QtEventsBridge::QtEventsBridge(EpollEvents& events, QObject* parent)
    : QObject(parent), m_notifier(events.fd(), QSocketNotifier::Read) {
    connect(&m_notifier, &QSocketNotifier::activated, this,
            [&events] { events.Run(std::chrono::milliseconds(0)); });
}

} // namespace kr
