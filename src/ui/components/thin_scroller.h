#pragma once

class QScrollArea;

namespace halvoren {

// A frameless, see-through scroll area whose vertical bar is a thin overlay-like handle
// instead of the platform's trough, and which never scrolls sideways.
void useThinScroller(QScrollArea& area);

} // namespace halvoren
