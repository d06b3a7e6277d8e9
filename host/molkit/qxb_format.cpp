// The .qxb format. A file is eight bytes of signature and then records, each a header of 20 bytes
//
//     "QXM\x1a", uint64 length of the payload, uint32 CRC-32 of the payload, uint32 CRC-32 of the
//     16 bytes before
//
// and a payload, one MessagePack map from names to values. Columns of numbers are MessagePack
// binaries of little-endian values, and columns of zeros are left out:
//
//     version     1
//     title, dimension, chiral
//     elements    uint16 an atom; likewise formal (int16), partial (float64), isotope (uint16),
//                 radicals, hydrogens, closed, parity, chirality (uint8), map (uint32)
//     names       array of strings, one an atom
//     begin, end  uint32 a bond; likewise order, stereo (uint8)
//     text        array of strings: tag, value, tag, value, ...
//     data        map from names to float64 columns
//     conformers  array of maps with coords (float32, x, y, z an atom), text, data
//
// MessagePack is named here and nowhere else.

#define MSGPACK_NO_BOOST
#include <msgpack.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <stdexcept>
#include <string_view>

#include "host/molkit/formats.h"

namespace QXMolKit {
namespace {

static_assert(std::endian::native == std::endian::little, "columns are written as they lie");

constexpr std::string_view kSignature = "\x89QXB\r\n\x1a\n";
constexpr std::string_view kMarker = "QXM\x1a";
constexpr unsigned int kVersion = 1;
constexpr size_t kHeaderSize = 20;
constexpr size_t kMaxDepth = 8;

/// CRC-32 as of ISO 3309, reflected, polynomial 0x04C11DB7.
std::uint32_t Crc32(std::string_view bytes) {
  static const auto table = [] {
    std::array<std::uint32_t, 256> t{};
    for (std::uint32_t i = 0; i < 256; ++i) {
      t[i] = i;
      for (int k = 0; k < 8; ++k) t[i] = (t[i] >> 1) ^ (t[i] & 1 ? 0xEDB88320u : 0);
    }
    return t;
  }();
  std::uint32_t crc = 0xFFFFFFFFu;
  for (const char c : bytes) crc = table[(crc ^ static_cast<unsigned char>(c)) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

template <typename T>
void AppendRaw(std::string& bytes, T value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <typename T>
T ReadRaw(std::string_view bytes, size_t at) {
  T value;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

// Writing.

/// A map whose number of entries is known at its end only.
class MapWriter {
 public:
  /// The packer for the value of a new entry.
  msgpack::packer<msgpack::sbuffer>& Entry(std::string_view key) {
    ++numEntries_;
    PackText(key);
    return packer_;
  }

  void PackText(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
      throw std::length_error("a text is larger than 4 GiB");
    }
    packer_.pack_str(static_cast<std::uint32_t>(text.size()));
    packer_.pack_str_body(text.data(), static_cast<std::uint32_t>(text.size()));
  }

  template <typename T>
  void PackColumn(std::span<const T> values) {
    if (values.size_bytes() > std::numeric_limits<std::uint32_t>::max()) {
      throw std::length_error("a column is larger than 4 GiB");
    }
    packer_.pack_bin(static_cast<std::uint32_t>(values.size_bytes()));
    packer_.pack_bin_body(reinterpret_cast<const char*>(values.data()),
                          static_cast<std::uint32_t>(values.size_bytes()));
  }

  /// One value an item, unless all are zero.
  template <typename T, typename Item, typename Get>
  void Column(std::string_view key, std::span<Item> items, Get get) {
    std::vector<T> values;
    values.reserve(items.size());
    for (const Item& item : items) values.push_back(static_cast<T>(get(item)));
    if (std::ranges::all_of(values, [](T value) { return value == T{}; })) return;
    Entry(key);
    PackColumn<T>(values);
  }

  void Embed(const MapWriter& map) {
    packer_.pack_map(map.numEntries_);
    buffer_.write(map.buffer_.data(), map.buffer_.size());
  }

  std::string Finish() const {
    MapWriter whole;
    whole.Embed(*this);
    return {whole.buffer_.data(), whole.buffer_.size()};
  }

 private:
  msgpack::sbuffer buffer_;
  msgpack::packer<msgpack::sbuffer> packer_{buffer_};
  std::uint32_t numEntries_ = 0;
};

/// SD text and attached data of a molecule or a conformer.
void PackExtras(MapWriter& map, const QXMolBase& mol) {
  const QXSDText& text = mol.GetOwnText();
  if (text.Size() > 0) {
    map.Entry("text").pack_array(static_cast<std::uint32_t>(2 * text.Size()));
    for (size_t i = 0; i < text.Size(); ++i) {
      map.PackText(text.Tag(i));
      map.PackText(text.Value(i));
    }
  }
  MapWriter data;
  for (const unsigned int tag : mol.GetTags()) {
    if (!mol.HasDataOfType<std::vector<double>>(tag)) continue;
    data.Entry(QXCore::QXGetTagName(tag));
    data.PackColumn<double>(mol.GetData<std::vector<double>>(tag));
  }
  map.Entry("data");
  map.Embed(data);
}

void PackAtoms(MapWriter& map, std::span<QXAtom> atoms) {
  std::vector<std::uint16_t> elements;
  for (const QXAtom& atom : atoms) {
    elements.push_back(static_cast<std::uint16_t>(atom.GetAtomicNum()));
  }
  map.Entry("elements");
  map.PackColumn<std::uint16_t>(elements);
  map.Column<std::int16_t>("formal", atoms, [](const QXAtom& a) { return a.GetFormalCharge(); });
  map.Column<double>("partial", atoms, [](const QXAtom& a) { return a.GetPartialCharge(); });
  const auto mark = [&]<typename T>(std::string_view key, T QXAtomMarks::*member, auto wire) {
    map.Column<decltype(wire)>(key, atoms, [=](const QXAtom& a) { return a.GetMarks().*member; });
  };
  mark("isotope", &QXAtomMarks::isotope, std::uint16_t{});
  mark("radicals", &QXAtomMarks::radicals, std::uint8_t{});
  mark("hydrogens", &QXAtomMarks::hydrogens, std::uint8_t{});
  mark("closed", &QXAtomMarks::noMoreHydrogens, std::uint8_t{});
  mark("parity", &QXAtomMarks::parity, std::uint8_t{});
  mark("chirality", &QXAtomMarks::chirality, std::uint8_t{});
  mark("map", &QXAtomMarks::mapNumber, std::uint32_t{});
  if (std::ranges::any_of(atoms, [](const QXAtom& a) { return *a.GetName() != '\0'; })) {
    map.Entry("names").pack_array(static_cast<std::uint32_t>(atoms.size()));
    for (const QXAtom& atom : atoms) map.PackText(atom.GetName());
  }
}

void PackBonds(MapWriter& map, std::span<QXBond> bonds) {
  const auto column = [&]<typename T>(std::string_view key, T QXBond::*member, auto wire) {
    std::vector<decltype(wire)> values;
    for (const QXBond& bond : bonds) values.push_back(static_cast<decltype(wire)>(bond.*member));
    map.Entry(key);
    map.PackColumn<decltype(wire)>(values);
  };
  column("begin", &QXBond::begin, std::uint32_t{});
  column("end", &QXBond::end, std::uint32_t{});
  column("order", &QXBond::order, std::uint8_t{});
  column("stereo", &QXBond::stereo, std::uint8_t{});
}

std::string PackMolecule(const QXMCMolBase& mol) {
  MapWriter map;
  map.Entry("version").pack_unsigned_int(kVersion);
  map.Entry("title");
  map.PackText(mol.GetTitle());
  map.Entry("dimension").pack_unsigned_int(mol.GetDimension());
  if (mol.GetChiralFlag()) map.Entry("chiral").pack_true();
  PackAtoms(map, mol.Atoms());
  PackBonds(map, mol.Bonds());
  PackExtras(map, mol);
  map.Entry("conformers").pack_array(mol.NumConfs());
  const std::unique_ptr<QXIterator<QXConfBase>> confs(mol.GetConfs());
  for (; confs && confs->IsValid(); confs->Next()) {
    MapWriter conf;
    conf.Entry("coords");
    conf.PackColumn<float>(confs->Get()->Coords());
    PackExtras(conf, *confs->Get());
    map.Embed(conf);
  }
  return map.Finish();
}

class QXBWriter : public FormatWriter {
 public:
  std::string Begin() override { return std::string(kSignature); }

  std::string Write(const QXMCMolBase& mol, std::string& problem) override {
    try {
      const std::string payload = PackMolecule(mol);
      std::string bytes(kMarker);
      AppendRaw<std::uint64_t>(bytes, payload.size());
      AppendRaw(bytes, Crc32(payload));
      AppendRaw(bytes, Crc32(bytes));
      return bytes + payload;
    } catch (const std::length_error& error) {
      problem = std::string(error.what()) + ": make it smaller";
      return {};
    }
  }
};

// Reading.

/// A problem of a payload's contents.
struct Malformed : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void Require(bool condition, const char* what) {
  if (!condition) throw Malformed(what);
}

/// Lets a payload pass that is well formed and not nested deeper than any payload needs. It is run
/// before the payload is unpacked, as unpacking believes the lengths of arrays and maps.
struct DepthCheck : msgpack::null_visitor {
  bool start_array(std::uint32_t) { return ++depth <= kMaxDepth; }
  bool start_map(std::uint32_t) { return ++depth <= kMaxDepth; }
  bool end_array() { return depth-- > 0; }
  bool end_map() { return depth-- > 0; }
  size_t depth = 0;
};

/// A map of a payload.
class MapReader {
 public:
  explicit MapReader(const msgpack::object& object) : map_(object.via.map) {
    Require(object.type == msgpack::type::MAP, "a map is something else");
  }

  /// The value of an entry, or null.
  const msgpack::object* Find(std::string_view key) const {
    for (const auto& entry : Entries()) {
      if (entry.key.type == msgpack::type::STR && Text(entry.key) == key) return &entry.val;
    }
    return nullptr;
  }

  std::span<const msgpack::object_kv> Entries() const { return {map_.ptr, map_.size}; }

  static std::string_view Text(const msgpack::object& object) {
    Require(object.type == msgpack::type::STR, "a text is something else");
    return {object.via.str.ptr, object.via.str.size};
  }

  static std::span<const msgpack::object> Array(const msgpack::object& object) {
    Require(object.type == msgpack::type::ARRAY, "an array is something else");
    return {object.via.array.ptr, object.via.array.size};
  }

  template <typename T>
  static std::vector<T> Values(const msgpack::object& object) {
    Require(object.type == msgpack::type::BIN, "a column is something else");
    Require(object.via.bin.size % sizeof(T) == 0, "a column has a broken length");
    std::vector<T> values(object.via.bin.size / sizeof(T));
    if (!values.empty()) std::memcpy(values.data(), object.via.bin.ptr, object.via.bin.size);
    return values;
  }

  /// A column of `size` values; zeros when it is left out.
  template <typename T>
  std::vector<T> Column(std::string_view key, size_t size) const {
    const msgpack::object* const object = Find(key);
    if (!object) return std::vector<T>(size);
    std::vector<T> values = Values<T>(*object);
    Require(values.size() == size, "a column has a wrong length");
    return values;
  }

  std::uint64_t Number(std::string_view key) const {
    const msgpack::object* const object = Find(key);
    Require(object && object->type == msgpack::type::POSITIVE_INTEGER, "a number is missing");
    return object->via.u64;
  }

 private:
  msgpack::object_map map_;
};

void UnpackExtras(const MapReader& map, QXMolBase& mol) {
  if (const msgpack::object* const text = map.Find("text")) {
    const auto items = MapReader::Array(*text);
    Require(items.size() % 2 == 0, "a tag has no value");
    Require(items.size() <= 2 * QXSDText::kMaxItems, "it has more than 10,000 tags");
    for (size_t i = 0; i < items.size(); i += 2) {
      mol.GetOwnText().Set(MapReader::Text(items[i]), MapReader::Text(items[i + 1]));
    }
  }
  if (const msgpack::object* const data = map.Find("data")) {
    const MapReader entries(*data);
    Require(entries.Entries().size() <= QXSDText::kMaxItems, "it has more than 10,000 tags");
    for (const auto& entry : entries.Entries()) {
      const std::string name(MapReader::Text(entry.key));
      mol.SetData(name.c_str(), MapReader::Values<double>(entry.val));
    }
  }
}

void UnpackAtoms(const MapReader& map, QXMCMolBase& mol) {
  const msgpack::object* const object = map.Find("elements");
  Require(object, "the elements are missing");
  const auto elements = MapReader::Values<std::uint16_t>(*object);
  const size_t size = elements.size();
  const auto formal = map.Column<std::int16_t>("formal", size);
  const auto partial = map.Column<double>("partial", size);
  const auto isotope = map.Column<std::uint16_t>("isotope", size);
  const auto radicals = map.Column<std::uint8_t>("radicals", size);
  const auto hydrogens = map.Column<std::uint8_t>("hydrogens", size);
  const auto closed = map.Column<std::uint8_t>("closed", size);
  const auto parity = map.Column<std::uint8_t>("parity", size);
  const auto chirality = map.Column<std::uint8_t>("chirality", size);
  const auto mapNumber = map.Column<std::uint32_t>("map", size);
  const msgpack::object* const names = map.Find("names");
  Require(!names || MapReader::Array(*names).size() == size, "names are missing");
  for (size_t i = 0; i < size; ++i) {
    Require(chirality[i] <= 2, "an atom has an unknown chirality");
    QXAtom* const atom = mol.NewAtom(elements[i]);
    atom->SetFormalCharge(formal[i]);
    atom->SetPartialCharge(partial[i]);
    atom->SetMarks({isotope[i], radicals[i], hydrogens[i], closed[i] != 0, parity[i],
                    static_cast<QXChirality>(chirality[i]), mapNumber[i]});
    if (names) atom->SetName(std::string(MapReader::Text(MapReader::Array(*names)[i])));
  }
}

void UnpackBonds(const MapReader& map, QXMCMolBase& mol) {
  const msgpack::object* const object = map.Find("begin");
  Require(object, "the bonds are missing");
  const auto begin = MapReader::Values<std::uint32_t>(*object);
  const auto end = map.Column<std::uint32_t>("end", begin.size());
  const auto order = map.Column<std::uint8_t>("order", begin.size());
  const auto stereo = map.Column<std::uint8_t>("stereo", begin.size());
  for (size_t i = 0; i < begin.size(); ++i) {
    Require(begin[i] < mol.NumAtoms() && end[i] < mol.NumAtoms() && begin[i] != end[i],
            "a bond has no two atoms");
    Require(order[i] <= 5 || order[i] == 8 || order[i] == 9, "a bond has an unknown order");
    Require(stereo[i] <= 4 || stereo[i] == 6, "a bond has an unknown mark");
    QXBond* const bond = mol.NewBond(begin[i], end[i], static_cast<QXBondOrder>(order[i]));
    bond->stereo = static_cast<QXBondStereo>(stereo[i]);
  }
}

void UnpackConformer(const msgpack::object& object, QXMCMolBase& mol, bool isFirst) {
  const MapReader map(object);
  const msgpack::object* const column = map.Find("coords");
  Require(column, "coordinates are missing");
  const auto coords = MapReader::Values<float>(*column);
  Require(coords.size() == 3 * size_t{mol.NumAtoms()}, "coordinates are missing");
  Require(std::ranges::all_of(coords, [](float value) { return std::isfinite(value); }),
          "a coordinate is not finite");
  QXConfBase* const conf = isFirst && mol.GetActive() ? mol.GetActive() : mol.NewConf();
  std::ranges::copy(coords, conf->Coords().begin());
  UnpackExtras(map, *conf);
}

void UnpackMolecule(std::string_view payload, QXMCMolBase& mol, RecordReport& report) {
  DepthCheck check;
  size_t at = 0;
  Require(msgpack::parse(payload.data(), payload.size(), at, check) && at == payload.size(),
          "it is no MessagePack");
  const auto refer = [](msgpack::type::object_type, size_t, void*) { return true; };
  const msgpack::object_handle whole = msgpack::unpack(payload.data(), payload.size(), refer);
  const MapReader map(*whole);

  const std::uint64_t version = map.Number("version");
  Require(version >= 1 && version <= kVersion, "a newer version of the format wrote it");
  if (const msgpack::object* const title = map.Find("title")) {
    report.title = MapReader::Text(*title);
    mol.SetTitle(report.title);
  }
  UnpackAtoms(map, mol);
  UnpackBonds(map, mol);
  UnpackExtras(map, mol);
  const std::uint64_t dimension = map.Number("dimension");
  Require(dimension <= 3, "its dimension is over 3");
  mol.SetDimension(static_cast<unsigned int>(dimension));
  mol.SetChiralFlag(map.Find("chiral") != nullptr);

  const msgpack::object* const confs = map.Find("conformers");
  Require(confs, "the conformers are missing");
  const auto items = MapReader::Array(*confs);
  Require(!items.empty() || mol.NumAtoms() == 0, "the conformers are missing");
  for (size_t i = 0; i < items.size(); ++i) UnpackConformer(items[i], mol, i == 0);
}

class QXBReader : public FormatReader {
 public:
  explicit QXBReader(std::istream& in) : in_(in) {}

  /// Takes the signature off the stream; false when it is not there.
  bool Begin() {
    const bool found = Fill(kSignature.size()) && buffer_.starts_with(kSignature);
    if (found) Drop(kSignature.size());
    return found;
  }

  ReadOutcome Read(QXMCMolBase& mol, RecordReport& report) override {
    report.line = offset_;
    if (!Fill(1)) return ReadOutcome::End;
    if (!Fill(kHeaderSize) || !IsHeader(0)) {
      FindHeader();
      report.problem = "the bytes up to the next record are damaged";
      return ReadOutcome::Skipped;
    }
    const auto length = ReadRaw<std::uint64_t>(buffer_, 4);
    const auto crc = ReadRaw<std::uint32_t>(buffer_, 12);
    Drop(kHeaderSize);
    if (!Fill(length)) {
      Drop(buffer_.size());
      report.problem = "the file ends in the middle of it";
      return ReadOutcome::Skipped;
    }
    const std::string_view payload(buffer_.data(), length);
    if (Crc32(payload) != crc) {
      report.problem = "its checksum is wrong, it is damaged";
    } else {
      try {
        UnpackMolecule(payload, mol, report);
      } catch (const std::exception& error) {
        report.problem = error.what();
      }
    }
    Drop(length);
    return report.problem.empty() ? ReadOutcome::Molecule : ReadOutcome::Skipped;
  }

 private:
  /// Reads until so many bytes are held; false when the stream ends before. It never sets storage
  /// aside for more than twice what has come, whatever a length field says.
  bool Fill(std::uint64_t size) {
    constexpr size_t kBlock = size_t{64} << 10;
    while (buffer_.size() < size && in_) {
      const size_t held = buffer_.size();
      buffer_.resize(held + kBlock);
      in_.read(buffer_.data() + held, kBlock);
      buffer_.resize(held + static_cast<size_t>(in_.gcount()));
    }
    return buffer_.size() >= size;
  }

  void Drop(size_t size) {
    buffer_.erase(0, size);
    offset_ += size;
  }

  bool IsHeader(size_t at) const {
    const std::string_view header = std::string_view(buffer_).substr(at, kHeaderSize);
    return header.size() == kHeaderSize && header.starts_with(kMarker) &&
           Crc32(header.substr(0, 16)) == ReadRaw<std::uint32_t>(header, 16);
  }

  /// Drops bytes up to the next header, or to the end.
  void FindHeader() {
    Drop(1);
    while (Fill(kHeaderSize)) {
      size_t at = buffer_.find(kMarker);
      while (at != buffer_.npos && at + kHeaderSize <= buffer_.size() && !IsHeader(at)) {
        at = buffer_.find(kMarker, at + 1);
      }
      if (at != buffer_.npos && IsHeader(at)) return Drop(at);
      Drop(std::min(at, buffer_.size() - (kMarker.size() - 1)));  // one may begin in the last bytes
    }
    Drop(buffer_.size());
  }

  std::istream& in_;
  std::string buffer_;
  size_t offset_ = 0;
};

}  // namespace

std::unique_ptr<FormatReader> MakeQXBReader(std::istream& in, std::string& problem) {
  auto reader = std::make_unique<QXBReader>(in);
  if (reader->Begin()) return reader;
  problem = "this is not a .qxb file, or its beginning is damaged: write it again";
  return nullptr;
}

std::unique_ptr<FormatWriter> MakeQXBWriter() {
  return std::make_unique<QXBWriter>();
}

}  // namespace QXMolKit
