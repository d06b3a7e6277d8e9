#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace QXMolKit {

class QXMolBase;

/// An ordered list of tagged texts, the data items of one SD record. Held in one string, so that a
/// copy costs two allocations however many items there are.
class QXSDText {
 public:
  static constexpr size_t npos = static_cast<size_t>(-1);  ///< no position
  /// The most items that a file may bring, as tags are looked up by walking the list.
  static constexpr size_t kMaxItems = 10000;

  /// The number of items.
  size_t Size() const { return items_.size(); }
  /// Views, valid until the list changes.
  std::string_view Tag(size_t i) const;
  std::string_view Value(size_t i) const;
  /// The position of a tag, or npos.
  size_t Find(std::string_view tag) const;
  /// Replaces the value of a tag in its place, or appends the tag.
  void Set(std::string_view tag, std::string_view value);
  /// Takes a tag away; false when there is none.
  bool Delete(std::string_view tag);

 private:
  struct Item {
    size_t tagEnd;
    size_t valueEnd;
  };
  size_t Begin(size_t i) const { return i == 0 ? 0 : items_[i - 1].valueEnd; }
  void Replace(size_t i, size_t from, size_t length, std::string_view with);

  std::string text_;
  std::vector<Item> items_;
};

// SD text stands on molecules and on their conformers. A conformer shows its own text first, then
// that of its molecule; a molecule shows its own first, then that of its active conformer. Readers
// put the data of a record on the conformer that they read.

/// Stores a text under a tag. Order is kept when the tag exists. On a conformer it is stored there.
/// On a molecule it holds for every conformer: where all of them have the tag as their own, each is
/// changed in its place; otherwise it is stored on the molecule and taken from the conformers.
/// Always true.
bool QXSetSDData(QXMolBase& mol, const std::string& tag, const std::string& value);

/// The text under a tag; empty when there is none.
std::string QXGetSDData(const QXMolBase& mol, const std::string& tag);
bool QXHasSDData(const QXMolBase& mol, const std::string& tag);

/// All tags that the molecule or conformer shows, in the order in which a record is written.
std::vector<std::string> QXGetSDTags(const QXMolBase& mol);

/// Takes a tag away, on a molecule from its conformers too; false when there is none. On a
/// conformer the molecule's own text stays and shows again.
bool QXDeleteSDData(QXMolBase& mol, const std::string& tag);

/// What one SD record of a conformer holds: the text of the molecule, then that of the conformer,
/// whose values replace those of the molecule under equal tags.
QXSDText QXGetRecordText(const QXMolBase& mol);

}  // namespace QXMolKit
