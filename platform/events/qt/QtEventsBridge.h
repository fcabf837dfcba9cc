#pragma once

#include <QObject>
#include <QSocketNotifier>

#include "platform/events/epoll/EpollEvents.h"

namespace kr {

/// Lets Qt's event loop drive the reactor: whatever is due runs between two Qt events, also inside
/// a modal dialog's loop.
class QtEventsBridge : public QObject {
public:
    explicit QtEventsBridge(EpollEvents& events, QObject* parent = nullptr);

private:
    QSocketNotifier m_notifier;
};

} // namespace kr
