#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace QXMolKit {

/// The sense of a tetrahedral centre: seen from the atom of its first bond, the atoms of the other
/// bonds follow each other in this sense; hydrogens without an atom of their own come last.
enum class QXChirality : std::uint8_t { None, CounterClockwise, Clockwise };

/// What a structure file may say of an atom beyond element, charge and place. Kept so that a
/// molecule read and written again is the same structure.
struct QXAtomMarks {
  std::uint16_t isotope = 0;     ///< mass number, 0 for the natural mixture
  std::uint8_t radicals = 0;     ///< unpaired electrons
  std::uint8_t hydrogens = 0;    ///< hydrogens stated without an atom of their own
  bool noMoreHydrogens = false;  ///< `hydrogens` is all there are, whatever the valence allows
  std::uint8_t parity = 0;       ///< the parity number of an SD file
  QXChirality chirality = QXChirality::None;  ///< only of structures without coordinates
  std::uint32_t mapNumber = 0;                ///< number in a reaction, 0 for none

  bool operator==(const QXAtomMarks&) const = default;
};

/// One atom. Its place belongs to the conformers. A pointer to an atom stays valid while no atom is
/// added to or taken from the molecule and nothing is assigned to it.
class QXAtom {
 public:
  /// An atom without formal charge and marks.
  explicit QXAtom(unsigned int atomicNum) : atomicNum_(static_cast<std::uint16_t>(atomicNum)) {}

  /// The atomic number; 0 for a dummy.
  unsigned int GetAtomicNum() const { return atomicNum_; }
  /// The place of the atom in its molecule, from 0.
  unsigned int GetIdx() const { return index_; }

  /// The name a file gives the atom ("CA", "R1"), often empty.
  const char* GetName() const { return name_.c_str(); }
  void SetName(std::string name) { name_ = std::move(name); }

  /// The partial charge in elementary charges, 0 until it is set.
  double GetPartialCharge() const { return partialCharge_; }
  void SetPartialCharge(double charge) { partialCharge_ = charge; }

  /// Elementary charges.
  int GetFormalCharge() const { return formalCharge_; }
  void SetFormalCharge(int charge) { formalCharge_ = static_cast<std::int16_t>(charge); }

  /// What else a file tells of the atom.
  const QXAtomMarks& GetMarks() const { return marks_; }
  void SetMarks(const QXAtomMarks& marks) { marks_ = marks; }

 private:
  friend class QXMCMolBase;

  double partialCharge_ = 0;
  std::uint32_t index_ = 0;
  std::uint16_t atomicNum_;
  std::int16_t formalCharge_ = 0;
  QXAtomMarks marks_;
  std::string name_;  // names of up to 15 characters need no allocation
};

/// The order of a bond, as files tell it.
enum class QXBondOrder : std::uint8_t {
  Zero = 0,
  Single = 1,
  Double = 2,
  Triple = 3,
  Aromatic = 4,
  Quadruple = 5,
  Any = 8,  ///< stated by the file as open, or in a way not known here
  Dative = 9,
};

/// The drawn or stated stereochemistry of a bond. Wedges start at the first atom of the bond.
enum class QXBondStereo : std::uint8_t {
  None = 0,
  Up = 1,
  Either = 4,
  Down = 6,
  /// Of single bonds beside a double bond in structures without coordinates, as the strokes of a
  /// SMILES: the bond rises, or falls, from its first to its second atom.
  Rising = 2,
  Falling = 3,
};

/// One bond, between the atoms with the indices `begin` and `end`.
struct QXBond {
  unsigned int begin = 0;  ///< where a drawn wedge is narrow
  unsigned int end = 0;    ///< the other atom
  QXBondOrder order = QXBondOrder::Single;
  QXBondStereo stereo = QXBondStereo::None;

  /// The indices of its atoms.
  unsigned int GetBeginIdx() const { return begin; }
  unsigned int GetEndIdx() const { return end; }
  /// What the bond is, and how it is drawn.
  QXBondOrder GetOrder() const { return order; }
  QXBondStereo GetStereo() const { return stereo; }
  bool operator==(const QXBond&) const = default;
};

}  // namespace QXMolKit
