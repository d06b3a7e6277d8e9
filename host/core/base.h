#pragma once

#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace QXCore {

/// The tag of a name: equal names give equal tags, different names different ones, for the run of
/// the program. Tags are never 0. Safe to call from many threads; a null pointer counts as "".
unsigned int QXGetTag(const char* name);

/// The name under which QXGetTag made `tag`, or an empty text for a number it never gave out.
std::string QXGetTagName(unsigned int tag);

/// A number that identifies a type for the run of the program.
unsigned int QXGetDataType(const std::type_info& type);

/// The number of the type T.
template <typename T>
unsigned int QXGetDataType() {
  static const unsigned int type = QXGetDataType(typeid(T));
  return type;
}

/// One datum attached to an object under a tag.
class QXBaseData {
 public:
  /// A datum that stands under this tag.
  explicit QXBaseData(unsigned int tag) : tag_(tag) {}
  virtual ~QXBaseData() = default;
  /// The number of the value's type: QXGetDataType<T>().
  virtual unsigned int GetDataType() const = 0;
  /// The number of values held.
  virtual unsigned int GetSize() const = 0;
  /// A new record with a copy of the value.
  virtual std::unique_ptr<QXBaseData> CreateCopy() const = 0;

  /// The tag under which it stands.
  unsigned int GetTag() const { return tag_; }

 protected:
  QXBaseData(const QXBaseData&) = default;
  QXBaseData& operator=(const QXBaseData&) = default;

 private:
  unsigned int tag_;
};

/// A datum of type T.
template <typename T>
class QXBaseDataT : public QXBaseData {
 public:
  QXBaseDataT(unsigned int tag, T value) : QXBaseData(tag), value_(std::move(value)) {}
  unsigned int GetDataType() const override { return QXGetDataType<T>(); }
  unsigned int GetSize() const override { return 1; }
  std::unique_ptr<QXBaseData> CreateCopy() const override {
    return std::make_unique<QXBaseDataT>(*this);
  }

  /// The value itself; valid as long as this object.
  const T& GetValue() const { return value_; }
  void SetValue(T value) { value_ = std::move(value); }

 private:
  T value_;
};

/// The data attached to one object: at most one datum a tag, in the order of first attachment.
/// A copy is deep.
class QXBaseImpl {
 public:
  QXBaseImpl() = default;
  /// Copies all data.
  QXBaseImpl(const QXBaseImpl& other);
  QXBaseImpl& operator=(const QXBaseImpl&) = delete;

  /// Attaches or overwrites a value. False, and nothing changes, when a value of another type
  /// stands under the tag; that is reported as a warning.
  template <typename T>
  bool SetData(unsigned int tag, T value);

  /// The value under the tag; a default-constructed T when there is none, and with a warning when
  /// it has another type.
  template <typename T>
  const T& GetData(unsigned int tag) const;

  /// The record under the tag, or null.
  const QXBaseData* FindData(unsigned int tag) const;
  /// Takes the datum away; false when there is none.
  bool DeleteData(unsigned int tag);
  /// The tags in use, in the order of attachment.
  std::vector<unsigned int> GetTags() const;

  /// Reports a datum of another type than was asked for, and says whether to proceed: never.
  /// `tag` is named in the report unless it is 0.
  static bool CheckTypeWarning(unsigned int tag = 0);

 private:
  QXBaseData* FindData(unsigned int tag) {
    return const_cast<QXBaseData*>(std::as_const(*this).FindData(tag));
  }

  std::vector<std::unique_ptr<QXBaseData>> data_;
};

/// An object to which values of any copyable type can be attached under names. Copying the object
/// copies what is attached.
///
///     molecule.SetData("grid", std::vector<double>{0, 0, 0});
///     const auto& points = molecule.GetData<std::vector<double>>("grid");
class QXBase {
 public:
  QXBase() = default;
  /// Copies are deep.
  QXBase(const QXBase& other);
  QXBase(QXBase&&) noexcept = default;
  QXBase& operator=(const QXBase& other);
  QXBase& operator=(QXBase&&) noexcept = default;
  virtual ~QXBase() = default;

  /// True when a datum of whatever type is attached.
  bool HasData(const char* name) const { return HasData(QXGetTag(name)); }
  bool HasData(unsigned int tag) const { return FindData(tag) != nullptr; }

  /// True when a datum of exactly this type is attached; reports nothing.
  template <typename T>
  bool HasDataOfType(const char* name) const {
    return HasDataOfType<T>(QXGetTag(name));
  }
  template <typename T>
  bool HasDataOfType(unsigned int tag) const {
    const QXBaseData* data = FindData(tag);
    return data && data->GetDataType() == QXGetDataType<T>();
  }

  /// Attaches or overwrites a value. False, with a warning and no change, when a value of another
  /// type stands under the name.
  template <typename T>
  bool SetData(const char* name, T value) {
    return SetData<T>(QXGetTag(name), std::move(value));
  }
  template <typename T>
  bool SetData(unsigned int tag, T value) {
    if (!impl_) impl_ = std::make_unique<QXBaseImpl>();
    return impl_->SetData<T>(tag, std::move(value));
  }

  /// The value under the name, valid until it is set or deleted; a shared default-constructed T
  /// when there is none, and with a warning when it has another type.
  template <typename T>
  const T& GetData(const char* name) const {
    return GetData<T>(QXGetTag(name));
  }
  template <typename T>
  const T& GetData(unsigned int tag) const;

  /// Takes the datum away; false when there is none.
  bool DeleteData(const char* name) { return DeleteData(QXGetTag(name)); }
  bool DeleteData(unsigned int tag) { return impl_ && impl_->DeleteData(tag); }

  /// The record under the tag, or null.
  const QXBaseData* FindData(unsigned int tag) const {
    return impl_ ? std::as_const(*impl_).FindData(tag) : nullptr;
  }
  /// The tags in use, in the order of attachment.
  std::vector<unsigned int> GetTags() const;

 private:
  std::unique_ptr<QXBaseImpl> impl_;  ///< null until the first datum is attached
};

template <typename T>
bool QXBaseImpl::SetData(unsigned int tag, T value) {
  QXBaseData* data = FindData(tag);
  if (!data) {
    data_.push_back(std::make_unique<QXBaseDataT<T>>(tag, std::move(value)));
    return true;
  }
  if (data->GetDataType() != QXGetDataType<T>()) return CheckTypeWarning(tag);
  static_cast<QXBaseDataT<T>*>(data)->SetValue(std::move(value));
  return true;
}

template <typename T>
const T& QXBaseImpl::GetData(unsigned int tag) const {
  static const T none{};
  const QXBaseData* data = FindData(tag);
  if (!data) return none;
  if (data->GetDataType() != QXGetDataType<T>()) {
    CheckTypeWarning(tag);
    return none;
  }
  return static_cast<const QXBaseDataT<T>*>(data)->GetValue();
}

template <typename T>
const T& QXBase::GetData(unsigned int tag) const {
  static const QXBaseImpl none;
  return (impl_ ? *impl_ : none).template GetData<T>(tag);
}

}  // namespace QXCore
