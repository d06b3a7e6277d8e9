#include "host/core/base.h"

#include <deque>
#include <map>
#include <mutex>
#include <typeindex>

#include "host/core/throw.h"

namespace QXCore {
namespace {

/// Numbers from 1 up, one for each key, in the order of first use.
template <typename Key>
class Registry {
 public:
  unsigned int NumberOf(const Key& key) {
    const std::lock_guard lock(mutex_);
    const auto [place, isNew] = numbers_.try_emplace(key, keys_.size() + 1);
    if (isNew) keys_.push_back(key);
    return static_cast<unsigned int>(place->second);
  }

  Key KeyOf(unsigned int number, const Key& otherwise) {
    const std::lock_guard lock(mutex_);
    return number >= 1 && number <= keys_.size() ? keys_[number - 1] : otherwise;
  }

 private:
  std::mutex mutex_;
  std::map<Key, size_t> numbers_;
  std::deque<Key> keys_;
};

Registry<std::string>& Tags() {
  static auto* const tags = new Registry<std::string>;  // outlives every static object
  return *tags;
}

Registry<std::type_index>& Types() {
  static auto* const types = new Registry<std::type_index>;
  return *types;
}

}  // namespace

unsigned int QXGetTag(const char* name) {
  return Tags().NumberOf(name ? name : "");
}

std::string QXGetTagName(unsigned int tag) {
  return Tags().KeyOf(tag, "");
}

unsigned int QXGetDataType(const std::type_info& type) {
  return Types().NumberOf(type);
}

QXBaseImpl::QXBaseImpl(const QXBaseImpl& other) {
  data_.reserve(other.data_.size());
  for (const auto& data : other.data_) data_.push_back(data->CreateCopy());
}

const QXBaseData* QXBaseImpl::FindData(unsigned int tag) const {
  for (const auto& data : data_) {
    if (data->GetTag() == tag) return data.get();
  }
  return nullptr;
}

bool QXBaseImpl::DeleteData(unsigned int tag) {
  return std::erase_if(data_, [tag](const auto& data) { return data->GetTag() == tag; }) > 0;
}

std::vector<unsigned int> QXBaseImpl::GetTags() const {
  std::vector<unsigned int> tags;
  for (const auto& data : data_) tags.push_back(data->GetTag());
  return tags;
}

bool QXBaseImpl::CheckTypeWarning(unsigned int tag) {
  QXThrow.Warning("Attached data \"%s\" has another type than the one asked for.",
                  QXGetTagName(tag).c_str());
  return false;
}

QXBase::QXBase(const QXBase& other)
    : impl_(other.impl_ ? std::make_unique<QXBaseImpl>(*other.impl_) : nullptr) {}

QXBase& QXBase::operator=(const QXBase& other) {
  if (this != &other) {
    impl_ = other.impl_ ? std::make_unique<QXBaseImpl>(*other.impl_) : nullptr;
  }
  return *this;
}

std::vector<unsigned int> QXBase::GetTags() const {
  return impl_ ? impl_->GetTags() : std::vector<unsigned int>();
}

}  // namespace QXCore
