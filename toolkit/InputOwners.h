#pragma once

class QWidget;

namespace KX {

enum class InputKind { Presses, Wheel, Keys };

/// Marks whether \p widget and its children handle this kind of input themselves. The toolkit layer then leaves it
/// to them and does not report it.
void setOwnsInput(QWidget& widget, InputKind kind, bool owns);

/// Whether \p widget, or a parent of it in the same window, is marked.
bool ownsInput(const QWidget& widget, InputKind kind);

} // namespace KX
