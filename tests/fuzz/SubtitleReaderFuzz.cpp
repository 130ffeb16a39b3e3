// One reader fed with arbitrary file bytes, then the range cut, the sort and a
// writer chosen by the first byte: nothing may crash, hang or read out of bounds.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/TextHelpers.h"
#include "subtitles/SubtitleCells.h"
#include "subtitles/SubtitleWriters.h"
#include "subtitles/TextEncoding.h"

#ifndef ZEL_FUZZ_TYPE
#error "ZEL_FUZZ_TYPE names the reader under test"
#endif

namespace {

constexpr int kWriters[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 99};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t control = data[0];
  int encoding = zel::kEncodingDetect;
  const std::string text =
      zel::DecodeTextBytes(std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1), encoding);
  std::vector<std::string> cells(1);
  zel::ReaderState state;
  const zel::LastLine last = (control & 0x80) != 0 ? zel::LastLine::Keep : zel::LastLine::Drop;
  for (std::string_view line : zel::SplitLines(text, last)) {
    zel::ReadSubtitleLine(ZEL_FUZZ_TYPE, zel::ApplyBig5Mode(line, (control >> 4) % 3), cells, state);
  }
  if (control & 0x40) zel::CutCellRange(cells, 1, 30);
  zel::AddExtraCell(cells, "extra", 0, 10, -0.2);
  zel::SortCells(cells);
  zel::SubtitleArguments args;
  args.karaokeStyle = control % 3;
  args.title = "title\r\nline";
  args.banner = "banner";
  zel::WriteSubtitleText(cells, kWriters[control % 13], args, ZEL_FUZZ_TYPE, {});
  return 0;
}
