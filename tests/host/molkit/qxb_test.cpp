// The .qxb format.

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>

#include "molkit_testing.h"
#include "support/counting_new.h"

namespace QXMolKit {
namespace {

constexpr size_t kSignatureSize = 8;
constexpr size_t kHeaderSize = 20;

/// CRC-32, bit by bit from its definition.
std::uint32_t Crc32(const std::string& bytes) {
  std::uint32_t crc = ~0u;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int k = 0; k < 8; ++k) crc = crc & 1 ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
  }
  return ~crc;
}

template <typename T>
std::string Raw(T value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

/// A record whose header is in order, whatever its payload and the length it tells.
std::string Wrap(const std::string& payload, std::uint64_t length) {
  const std::string header = "QXM\x1a" + Raw(length) + Raw(Crc32(payload));
  return header + Raw(Crc32(header)) + payload;
}

/// Ethanol with every field in use.
QXMol MakeFullMolecule() {
  QXMol mol = MakeMolecule();
  mol.SetTitle("Äthanol\nwith a \"line\"");
  mol.SetChiralFlag(true);
  QXAtom* const atom = mol.GetAtom(4);
  atom->SetName("a name of more than fifteen letters");
  atom->SetFormalCharge(-2);
  atom->SetMarks({13, 1, 2, true, 3, QXChirality::Clockwise, 70000});
  *mol.GetBond(3) = {4, 1, QXBondOrder::Aromatic, QXBondStereo::Down};
  QXSetSDData(mol, "multi\nline", std::string("a\0b\n\n$$$$", 9));
  mol.SetData("values", std::vector<double>{0, -0.0, 1e-308, INFINITY});
  mol.SetData("other type", 7);
  return mol;
}

/// The bytes of a file of three molecules: ethanol with all, one without atoms, benzene's carbons.
const std::string& FileBytes() {
  static const std::string bytes = [] {
    const TemporaryFolder folder;
    QXMol ring;
    ring.SetTitle("ring");
    for (int i = 0; i < 6; ++i) ring.NewAtom(6);
    for (unsigned int i = 0; i < 6; ++i) ring.NewBond(i, (i + 1) % 6, QXBondOrder::Aromatic);
    WriteAll(folder / "file.qxb", {MakeFullMolecule(), QXMol(), ring});
    return ReadFile(folder / "file.qxb");
  }();
  return bytes;
}

struct Outcome {
  std::vector<QXMol> all;
  std::vector<QXSkippedRecord> skipped;
  bool isGood = false;
};

Outcome ReadFrom(const TemporaryFolder& folder, const std::string& bytes) {
  WriteFile(folder / "damaged.qxb", bytes);
  qxmolistream in(folder / "damaged.qxb");
  Outcome outcome;
  for (QXMol mol; QXReadMolecule(in, mol);) outcome.all.push_back(mol);
  outcome.skipped = in.SkippedRecords();
  outcome.isGood = static_cast<bool>(in);
  return outcome;
}

TEST(QXB, KeepsEverything) {
  const TemporaryFolder folder;
  const Outcome outcome = ReadFrom(folder, FileBytes());
  ASSERT_EQ(outcome.all.size(), 3u);
  QXMol expected = MakeFullMolecule();
  expected.DeleteData("other type");  // vectors of doubles only
  EXPECT_EQ(Describe(outcome.all[0]), Describe(expected));
  EXPECT_EQ(outcome.all[1].NumConfs(), 0u);
  EXPECT_STREQ(outcome.all[2].GetTitle(), "ring");

  const std::vector<QXMol> drugs = ReadAll(TestFile("drugs.sdf"));
  WriteAll(folder / "drugs.qxb", drugs);
  const std::vector<QXMol> again = ReadAll(folder / "drugs.qxb");
  ASSERT_EQ(again.size(), drugs.size());
  for (size_t i = 0; i < drugs.size(); ++i) EXPECT_EQ(Describe(again[i]), Describe(drugs[i]));
}

TEST(QXB, TellsForeignAndEmptyFiles) {
  const TemporaryFolder folder;
  const QXTest::Messages messages;
  for (const std::string& bytes : {std::string(), std::string("QXB"),
                                   ReadFile(TestFile("drugs.sdf")), FileBytes().substr(1)}) {
    const Outcome outcome = ReadFrom(folder, bytes);
    EXPECT_FALSE(outcome.isGood);
    EXPECT_TRUE(outcome.all.empty());
  }
  ASSERT_EQ(messages.all.size(), 4u);
  EXPECT_EQ(
      messages.all[0].second,
      folder / "damaged.qxb" +
          std::string(": this is not a .qxb file, or its beginning is damaged: write it again"));
  EXPECT_TRUE(ReadFrom(folder, FileBytes().substr(0, kSignatureSize)).isGood) << "no molecules";
}

TEST(QXB, ATruncatedFileGivesItsWholeRecords) {
  const TemporaryFolder folder;
  const QXTest::Messages messages;
  const std::string& bytes = FileBytes();
  std::vector<size_t> ends = {kSignatureSize};
  while (ends.back() < bytes.size()) {
    std::uint64_t length = 0;
    std::memcpy(&length, bytes.data() + ends.back() + 4, sizeof length);
    ends.push_back(ends.back() + kHeaderSize + length);
  }
  ASSERT_EQ(ends.size(), 4u);
  for (size_t size = kSignatureSize; size < bytes.size(); ++size) {
    const Outcome outcome = ReadFrom(folder, bytes.substr(0, size));
    const auto whole = std::ranges::upper_bound(ends, size) - ends.begin() - 1;
    ASSERT_EQ(outcome.all.size(), static_cast<size_t>(whole)) << size;
    ASSERT_EQ(outcome.skipped.size(), std::ranges::count(ends, size) ? 0u : 1u) << size;
  }
}

TEST(QXB, DamageCostsTheDamagedRecordOnly) {
  const TemporaryFolder folder;
  const QXTest::Messages messages;
  std::mt19937 random(5);
  for (int round = 0; round < 500; ++round) {
    std::string bytes = FileBytes();
    const size_t at = kSignatureSize + random() % (bytes.size() - kSignatureSize);
    bytes[at] = static_cast<char>(bytes[at] ^ (1 + random() % 255));
    const Outcome outcome = ReadFrom(folder, bytes);
    ASSERT_EQ(outcome.all.size(), 2u) << at;
    ASSERT_EQ(outcome.skipped.size(), 1u) << at;
  }
}

// Payloads with a checksum in order and contents that lie.
TEST(QXB, AForgedFileIsHarmless) {
  const TemporaryFolder folder;
  const QXTest::Messages messages;
  const std::string signature = FileBytes().substr(0, kSignatureSize);
  std::uint64_t length = 0;
  std::memcpy(&length, FileBytes().data() + kSignatureSize + 4, sizeof length);
  const std::string good = FileBytes().substr(kSignatureSize + kHeaderSize, length);

  QXTest::largestAllocation = 0;
  for (const std::uint64_t told : {~std::uint64_t{0}, std::uint64_t{1} << 40})
    EXPECT_TRUE(ReadFrom(folder, signature + Wrap(good, told)).all.empty());
  const std::pair<std::string, std::string> hostile[] = {
      {"\xdd\xff\xff\xff\xff", "it is no MessagePack"},  // an array of 2^32 - 1
      {"\xdf\xff\xff\xff\xff", "it is no MessagePack"},  // a map of as many
      {std::string("\x81\xa8") + "elements\xc6\xff\xff\xff\xff", "it is no MessagePack"},
      {std::string(1 << 20, '\x91'), "it is no MessagePack"},  // nested a million deep
      {std::string("\x81\xa7") + "version\x02", "a newer version of the format wrote it"},
      {"\xc0", "a map is something else"}};
  for (const auto& [payload, reason] : hostile) {
    const Outcome outcome =
        ReadFrom(folder, signature + Wrap(payload, payload.size()) + Wrap(good, good.size()));
    ASSERT_EQ(outcome.skipped.size(), 1u);
    EXPECT_EQ(outcome.skipped[0].reason, reason);
    EXPECT_EQ(outcome.all.size(), 1u);
  }
  EXPECT_EQ(messages.all.back().first, QXCore::QXErrorLevel::Warning);

  std::mt19937 random(9);
  size_t numRead = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string payload = good;
    for (auto k = 1 + random() % 3; k > 0; --k)
      payload[random() % payload.size()] = static_cast<char>(random() % 256);
    for (const QXMol& mol : ReadFrom(folder, signature + Wrap(payload, payload.size())).all) {
      ++numRead;
      for (const double value : Coords(mol)) ASSERT_TRUE(std::isfinite(value));
      Describe(mol);
    }
  }
  EXPECT_GT(numRead, 100u);
  EXPECT_LT(numRead, 3000u);
  // The largest of these files has a mebibyte.
  EXPECT_LT(QXTest::largestAllocation, size_t{64} << 20);
}

}  // namespace
}  // namespace QXMolKit
