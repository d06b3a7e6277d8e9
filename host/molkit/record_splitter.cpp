#include "host/molkit/record_splitter.h"

#include <algorithm>
#include <cstring>

namespace QXMolKit {
namespace {

constexpr size_t kBufferSize = size_t{64} << 10;
constexpr std::string_view kMol2Start = "@<TRIPOS>MOLECULE";

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

}  // namespace

LineReader::LineReader(std::istream& in, size_t maxLine)
    : in_(in), maxLine_(maxLine), buffer_(kBufferSize) {
  if (Fill() && end_ >= 3 && std::memcmp(buffer_.data(), "\xEF\xBB\xBF", 3) == 0) at_ = 3;
}

bool LineReader::Fill() {
  in_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  at_ = 0;
  end_ = static_cast<size_t>(in_.gcount());
  return end_ > 0;
}

bool LineReader::Next(std::string& line) {
  line.clear();
  wasCut_ = false;
  if (at_ == end_ && !Fill()) return false;
  ++lineNumber_;
  for (bool ended = false; !ended && (at_ < end_ || Fill());) {
    const char* const begin = buffer_.data() + at_;
    const char* const end = buffer_.data() + end_;
    const char* const newline = std::find(begin, end, '\n');
    const size_t length = static_cast<size_t>(newline - begin);
    line.append(begin, std::min(length, maxLine_ - line.size()));
    wasCut_ = wasCut_ || line.size() == maxLine_;
    ended = newline != end;
    at_ += length + (ended ? 1 : 0);
  }
  if (line.ends_with('\r')) line.pop_back();
  return true;
}

RecordSplitter::RecordSplitter(std::istream& in, QXMolFormat format, size_t maxRecord)
    : lines_(in, maxRecord), format_(format), maxRecord_(maxRecord) {}

bool RecordSplitter::EndsRecord(const std::string& line) const {
  switch (format_) {
    case QXMolFormat::SDF:
    case QXMolFormat::MOL:
      return line.starts_with("$$$$");
    case QXMolFormat::PDB:
      return line.starts_with("END") && IsBlank(line.substr(3));
    case QXMolFormat::SMILES:
      return true;
    default:
      return false;
  }
}

void RecordSplitter::Append(Record& record) {
  if (record.tooLarge || lines_.WasCut() || record.text.size() + line_.size() >= maxRecord_) {
    record.tooLarge = true;
    return;
  }
  record.text += line_;
  record.text += '\n';
}

bool RecordSplitter::Next(Record& record) {
  record.text.clear();
  record.tooLarge = false;
  record.firstLine = 0;
  while (hasLine_ || lines_.Next(line_)) {
    if (record.firstLine == 0) record.firstLine = lines_.LineNumber();
    const bool isMol2Start = format_ == QXMolFormat::MOL2 && line_.starts_with(kMol2Start);
    if (isMol2Start && !hasLine_ && (record.tooLarge || record.text.starts_with('@'))) {
      hasLine_ = true;
      return true;
    }
    if (isMol2Start) {
      record.text.clear();  // comments before the first molecule
      record.firstLine = lines_.LineNumber();
    }
    hasLine_ = false;
    const bool isLast = EndsRecord(line_);
    if (!isLast || format_ == QXMolFormat::SMILES) Append(record);
    const bool mayBeBlank = format_ == QXMolFormat::SDF || format_ == QXMolFormat::MOL;
    if (isLast && (mayBeBlank || record.tooLarge || !IsBlank(record.text))) return true;
    if (isLast) record = {};
  }
  return record.tooLarge || !IsBlank(record.text);
}

}  // namespace QXMolKit
