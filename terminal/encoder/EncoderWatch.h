#pragma once

namespace Terminal {

class EncoderView;
class InputSettings;

/// Makes \p view show the library's encoder: its speed table, scaled by the factor in \p settings, and the present
/// step time. Must be called on the thread that reports input, because the encoder takes no lock. The
/// library's encoder must exist as long as \p view gets events.
void watchEncoder(EncoderView& view, InputSettings& settings);

/// Shows the library's speed table as it is now.
void showSpeedTable(EncoderView& view);

} // namespace Terminal
