#include "host/molkit/sdtext.h"

#include <algorithm>

#include "host/molkit/mcmolbase.h"

namespace QXMolKit {

std::string_view QXSDText::Tag(size_t i) const {
  return std::string_view(text_).substr(Begin(i), items_[i].tagEnd - Begin(i));
}

std::string_view QXSDText::Value(size_t i) const {
  return std::string_view(text_).substr(items_[i].tagEnd, items_[i].valueEnd - items_[i].tagEnd);
}

size_t QXSDText::Find(std::string_view tag) const {
  for (size_t i = 0; i < items_.size(); ++i) {
    if (Tag(i) == tag) return i;
  }
  return npos;
}

void QXSDText::Replace(size_t i, size_t from, size_t length, std::string_view with) {
  text_.replace(from, length, with);
  for (size_t k = i; k < items_.size(); ++k) {
    if (k > i) items_[k].tagEnd += with.size() - length;  // unsigned: wraps back when it shrinks
    items_[k].valueEnd += with.size() - length;
  }
}

void QXSDText::Set(std::string_view tag, std::string_view value) {
  const std::string kept(value);  // `value` may point into this list
  const size_t i = Find(tag);
  if (i != npos) {
    Replace(i, items_[i].tagEnd, Value(i).size(), kept);
    return;
  }
  const std::string newTag(tag);
  text_ += newTag;
  const size_t tagEnd = text_.size();
  text_ += kept;
  items_.push_back({tagEnd, text_.size()});
}

bool QXSDText::Delete(std::string_view tag) {
  const size_t i = Find(tag);
  if (i == npos) return false;
  const size_t length = items_[i].valueEnd - Begin(i);
  text_.erase(Begin(i), length);
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
  for (size_t k = i; k < items_.size(); ++k) {
    items_[k].tagEnd -= length;
    items_[k].valueEnd -= length;
  }
  return true;
}

namespace {

bool IsConformer(const QXMolBase& mol) {
  return &mol == mol.GetActive();
}

/// Calls `use` on the own text of every conformer of a molecule.
template <typename Use>
void ForConformers(const QXMolBase& mol, Use use) {
  const std::unique_ptr<QXIterator<QXConfBase>> confs(mol.GetMolecule().GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) use(confs->Get()->GetOwnText());
}

/// The list that shows `tag`, or null.
const QXSDText* FindText(const QXMolBase& mol, const std::string& tag) {
  const auto has = [&tag](const QXMolBase* m) {
    return m && m->GetOwnText().Find(tag) != QXSDText::npos;
  };
  if (has(&mol)) return &mol.GetOwnText();
  const QXMolBase* other = mol.GetActive();
  if (IsConformer(mol)) other = &mol.GetMolecule();
  return has(other) ? &other->GetOwnText() : nullptr;
}

}  // namespace

bool QXSetSDData(QXMolBase& mol, const std::string& tag, const std::string& value) {
  const auto isIn = [&tag](const QXSDText& text) { return text.Find(tag) != QXSDText::npos; };
  if (IsConformer(mol) || isIn(mol.GetOwnText()) || !mol.GetActive()) {
    mol.GetOwnText().Set(tag, value);
    if (!IsConformer(mol)) ForConformers(mol, [&](QXSDText& text) { text.Delete(tag); });
    return true;
  }
  bool allHaveIt = true;
  ForConformers(mol, [&](QXSDText& text) { allHaveIt = allHaveIt && isIn(text); });
  if (!allHaveIt) mol.GetOwnText().Set(tag, value);
  ForConformers(mol, [&](QXSDText& text) {
    if (allHaveIt) {
      text.Set(tag, value);
    } else {
      text.Delete(tag);
    }
  });
  return true;
}

std::string QXGetSDData(const QXMolBase& mol, const std::string& tag) {
  const QXSDText* text = FindText(mol, tag);
  return text ? std::string(text->Value(text->Find(tag))) : std::string();
}

bool QXHasSDData(const QXMolBase& mol, const std::string& tag) {
  return FindText(mol, tag) != nullptr;
}

std::vector<std::string> QXGetSDTags(const QXMolBase& mol) {
  const QXSDText text = QXGetRecordText(mol);
  std::vector<std::string> tags;
  for (size_t i = 0; i < text.Size(); ++i) tags.emplace_back(text.Tag(i));
  return tags;
}

bool QXDeleteSDData(QXMolBase& mol, const std::string& tag) {
  bool found = mol.GetOwnText().Delete(tag);
  if (!IsConformer(mol)) {
    ForConformers(mol, [&](QXSDText& text) { found = text.Delete(tag) || found; });
  }
  return found;
}

QXSDText QXGetRecordText(const QXMolBase& mol) {
  const QXConfBase* conf = mol.GetActive();
  QXSDText all = mol.GetMolecule().GetOwnText();
  for (size_t i = 0; conf && i < conf->GetOwnText().Size(); ++i) {
    all.Set(conf->GetOwnText().Tag(i), conf->GetOwnText().Value(i));
  }
  return all;
}

}  // namespace QXMolKit
