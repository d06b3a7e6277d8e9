#include "python/src/elements.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace QXPython {
namespace {

constexpr std::array<std::string_view, kLargestAtomicNumber + 1> kSymbols = {
    "*",  "H",  "He", "Li", "Be", "B",  "C",  "N",  "O",  "F",  "Ne", "Na", "Mg", "Al", "Si",
    "P",  "S",  "Cl", "Ar", "K",  "Ca", "Sc", "Ti", "V",  "Cr", "Mn", "Fe", "Co", "Ni", "Cu",
    "Zn", "Ga", "Ge", "As", "Se", "Br", "Kr", "Rb", "Sr", "Y",  "Zr", "Nb", "Mo", "Tc", "Ru",
    "Rh", "Pd", "Ag", "Cd", "In", "Sn", "Sb", "Te", "I",  "Xe", "Cs", "Ba", "La", "Ce", "Pr",
    "Nd", "Pm", "Sm", "Eu", "Gd", "Tb", "Dy", "Ho", "Er", "Tm", "Yb", "Lu", "Hf", "Ta", "W",
    "Re", "Os", "Ir", "Pt", "Au", "Hg", "Tl", "Pb", "Bi", "Po", "At", "Rn", "Fr", "Ra", "Ac",
    "Th", "Pa", "U",  "Np", "Pu", "Am", "Cm", "Bk", "Cf", "Es", "Fm", "Md", "No", "Lr", "Rf",
    "Db", "Sg", "Bh", "Hs", "Mt", "Ds", "Rg", "Cn", "Nh", "Fl", "Mc", "Lv", "Ts", "Og"};

}  // namespace

int AtomicNumber(std::string_view symbol) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  const auto same = [&](std::string_view known) {
    return std::ranges::equal(known, symbol, {}, lower, lower);
  };
  if (same("X")) return 0;
  const auto found = std::ranges::find_if(kSymbols, same);
  return found == kSymbols.end() ? -1 : static_cast<int>(found - kSymbols.begin());
}

}  // namespace QXPython
