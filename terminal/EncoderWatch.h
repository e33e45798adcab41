#pragma once

namespace Terminal {

class EncoderView;
class InputSettings;

/// Lets \p view show the library's encoder as it is: its speed table, scaled by the factor of \p settings, and the
/// time of the present step. On the thread that reports input, as the encoder's dynamics lock nothing. Both
/// must outlive what is shown.
void watchEncoder(EncoderView& view, InputSettings& settings);

/// Shows the library's speed table as it is now.
void showSpeedTable(EncoderView& view);

} // namespace Terminal
