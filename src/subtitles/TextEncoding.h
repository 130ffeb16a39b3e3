// Whole text files in the encodings subtitles come in: a byte order mark decides,
// or the caller says. Texts in the program are UTF-8; files may be ANSI (a code page
// of the user's choice), UTF-8, or UTF-16 in either byte order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

enum TextEncodingNumber : int {
  kEncodingDetect = -1,
  kEncodingAnsi = 0,
  kEncodingUtf8 = 1,
  kEncodingUtf16 = 2,    // "Unicode"
  kEncodingUtf16Be = 3,  // "Unicode big endian"
  kEncodingUtf32 = 4,    // recognised, never converted
  kEncodingUtf32Be = 5,
};

// The code page that "ANSI" means, as an iconv name. UTF-8 unless set; when it is
// UTF-8, ANSI bytes that are not valid UTF-8 are read as GB18030, the page most
// Chinese subtitle files were written in.
std::string AnsiCodePage();
// An empty or unknown name keeps UTF-8.
void SetAnsiCodePage(std::string_view name);

// The row of the mark table for the first four bytes of a file, read little endian.
void UEFCheckBOM(uint32_t first4, int& encoding, int& length);
// The mark of an encoding, low byte first, and its length (0 for none).
void UEFMakeBOM(int encoding, uint32_t& bom, int& length);
// The encoding a file's mark names; -1 when the file cannot be opened.
int UEFCheckTextFileFormat(const std::string& path);

// The whole file as text. `encoding` -1 detects and reports the mark found; another
// number reads the bytes that way, and a mark of another encoding counts as text.
// "Unicode" keeps its NUL tail: one NUL for every byte beyond half the file, plus one.
std::string UEFLoadTextFile(const std::string& path, int& encoding);
// The same rules applied to bytes already in memory.
std::string DecodeTextBytes(std::string_view bytes, int& encoding);

// Writes `text`, with the mark of `encoding` unless appending. Appending with -1
// keeps the file's own encoding and reports it; an empty file takes
// `defaultEncoding`. A replacing write is atomic.
bool UEFSaveTextFile(const std::string& path, std::string_view text, bool append, int& encoding,
                     int defaultEncoding);

// Text to the bytes of the ANSI code page; characters it lacks become "?".
std::string EncodeAnsi(std::string_view text);
// Bytes in an iconv code page to UTF-8 and back; bytes or characters the other side
// cannot take become "?".
std::string DecodeCodePage(std::string_view bytes, const char* page);
std::string EncodeCodePage(std::string_view text, const char* page);

// Repairs Big5 text read as GB (mode 1, then simplified through OpenCC) or GB text
// read as Big5 (mode 2). Mode 0 and unknown modes leave the line as it is.
std::string ApplyBig5Mode(std::string_view line, int mode);

// Appends one character (a code point) to a UTF-8 text.
void AppendUtf8(std::string& out, uint32_t code);

// Whether the bytes are well-formed UTF-8.
bool IsValidUtf8(std::string_view bytes);
// The characters (code points) of a UTF-8 text, each as its bytes; a stray byte
// counts as one character.
std::vector<std::string_view> Utf8Characters(std::string_view text);

}  // namespace zel
