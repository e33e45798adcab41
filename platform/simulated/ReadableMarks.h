#pragma once

namespace KX {

class KXEndPoint;

/// Which end points of the program's own classes can be read. Any thread.
void markReadable(const KXEndPoint* endPoint, bool readable);
bool isMarkedReadable(const KXEndPoint* endPoint);
void forgetMarks();

} // namespace KX
