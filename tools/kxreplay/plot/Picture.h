#pragma once

#include <QSize>

#include <string>

class QPainter;

namespace Replay {

/// Something that can be painted into a picture.
class Drawing {
public:
    virtual ~Drawing() = default;
    virtual QSize size() const = 0;
    virtual void paint(QPainter& painter) const = 0;
};

/// Files of pictures. The ending of the name tells the format: .svg, .png or .pdf.
namespace Picture {

/// \throws BadInput  the name has another ending
void checkName(const std::string& file);

/// Tries to open the file, before the work that the picture shows. It stays as it is.
/// \throws std::runtime_error  "file: why"
void checkThatItCanBeWritten(const std::string& file);

/// Needs no QApplication; makes one for the fonts.
/// \throws std::runtime_error  "file: why"
void draw(const std::string& file, const Drawing& drawing);

} // namespace Picture

} // namespace Replay
