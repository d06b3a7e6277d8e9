#pragma once

#include <string>

#include "host/molkit/sdtext.h"

namespace QXMolKit {

/// The parts of one SD record.
struct SDRecord {
  std::string title;
  std::string block;  ///< the structure, up to and with "M  END"
  QXSDText data;
};

/// Takes a record, without its "$$$$", apart. Returns what is wrong with it; the title is set all
/// the same.
std::string SplitSDRecord(const std::string& text, SDRecord& record);

/// The data items of a record as they stand in a file, with what would break the record made safe.
std::string WriteSDData(const QXSDText& data);

/// A title as it may stand on a line of its own.
std::string SafeTitle(const std::string& title);

}  // namespace QXMolKit
