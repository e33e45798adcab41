#pragma once

namespace KX {

class KXEvent;

/// Tells the debug service of a post, as every queue does before anything else.
void tracePost(const KXEvent& event);

} // namespace KX
