// ID3v2 tags of MP3 files, read and written as plain bytes: the text frames a
// player shows, and the embedded pictures.
#pragma once

namespace zel {}  // namespace zel
