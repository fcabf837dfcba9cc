#pragma once

#include <QAbstractItemView>
#include <QDialog>
#include <QKeyEvent>
#include <QLabel>

/// What several dialogs need and Qt doesn't offer.
namespace kr {

/// Room for that many average characters and lines in the widget's font, which is how dialogs are
/// sized: pixels would be wrong for another font.
QSize TextRoom(const QWidget& widget, int columns, int lines);

/// Makes room for the label's whole text, lines broken after that many average characters. A label
/// that breaks lines tells its window too late how high it is.
void FitText(QLabel& label, int columns);

/// Shows an image in the size of a message box's icon, sharp at every scale.
void SetImage(QLabel& label, std::string_view image);

/// The Enter key belongs to the view that has the focus, not to the default button.
bool IsEnterIn(const QAbstractItemView& view, const QKeyEvent& event);

} // namespace kr
