#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace QXMolKit {

/// A walk over the elements of a molecule or a transform. It is made on the heap, and the caller
/// destroys it. A null pointer instead of an iterator means an empty range.
///
///     const std::unique_ptr<QXIterator<QXAtom>> atoms(mol.GetAtoms());
///     for (; atoms && atoms->IsValid(); atoms->Next()) Use(atoms->Get());
///
/// It may be used until the range changes.
template <typename T>
class QXIterator {
 public:
  virtual ~QXIterator() = default;
  /// Advances to the next element.
  virtual void Next() = 0;
  /// The current element; the iterator must be valid.
  virtual T* Get() = 0;
  /// True while an element is current.
  virtual bool IsValid() const = 0;
};

/// An iterator over [begin, end) of a container of T or of owning pointers to T; null when empty.
template <typename T, typename Position>
QXIterator<T>* QXMakeIterator(Position begin, Position end) {
  class Walk : public QXIterator<T> {
   public:
    Walk(Position first, Position last) : at_(first), end_(last) {}
    void Next() override { ++at_; }
    bool IsValid() const override { return at_ != end_; }
    T* Get() override {
      if constexpr (std::is_same_v<std::remove_cvref_t<decltype(*at_)>, T>) {
        return std::addressof(*at_);
      } else {
        return at_->get();
      }
    }

   private:
    Position at_;
    Position end_;
  };
  return begin == end ? nullptr : new Walk(begin, end);
}

}  // namespace QXMolKit
