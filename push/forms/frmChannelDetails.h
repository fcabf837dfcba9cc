#pragma once

#include <QDialog>
#include <memory>
#include <string_view>

#include "push/ChannelDetails.h"

namespace Ui {
class frmChannelDetails;
}

namespace kr {

/// What became of a channel's last push: the targets, and the content that went along.
class frmChannelDetails : public QDialog {
    Q_OBJECT
public:
    frmChannelDetails(const ChannelDetails& details, std::string_view title,
                      QWidget* parent = nullptr);
    ~frmChannelDetails() override;

private:
    std::unique_ptr<::Ui::frmChannelDetails> m_ui;
};

} // namespace kr
