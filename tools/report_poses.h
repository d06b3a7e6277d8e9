#pragma once

#include <string>
#include <vector>

#include "tools/hits.h"
#include "tools/listener.h"
#include "tools/report.h"

// Reports of molecules as files hold them.

namespace QXTools {

/// A report with a row for each of the molecules, of at most kMostReportRows, in their order. The
/// columns are the title, and the SD data that are numbers wherever they occur, 40 of them at most,
/// which a remark tells: first the scores that overlays write, where they are numbers, then the
/// others in the order of the first molecule that has them. Whole numbers of more digits than a
/// double holds, or with a zero in front, are texts. The score is the first one by which the
/// molecules are in falling order, or else the first one there is.
Report ReportOfPoses(std::vector<QXMolKit::QXMol> poses);

/// The same of hits, which come with their places of origin.
Report ReportOfHits(const std::vector<Hit>& hits);

/// A row for each atom, with the value of the density that it stands for at its place; the density
/// and all atoms are there to be seen.
Report ReportOfAtoms(const QXMolKit::QXMol& atoms, const QXCore::QXScalarGrid& density);

/// Adds the reference of an overlay out of its file: a record of a molecule file, counted from 1,
/// or a grid with the atoms it may carry. False when that cannot be done, which the listener is
/// told.
bool AddReference(Report& report, const std::string& path, unsigned int record,
                  const std::string& option, Listener& listener);

/// The same of a molecule.
void AddReference(Report& report, QXMolKit::QXMol mol);

/// Adds the density of a grid file, under the name of the file. False when that cannot be done,
/// which the listener is told.
bool AddDensity(Report& report, const std::string& path, Listener& listener);

/// Adds a grid that is always there, and the atoms it may carry where there is no reference yet.
void AddGrid(Report& report, const std::string& name, const QXCore::QXScalarGrid& grid);

/// So many rows of a page can have their own grids, of up to 0.7 MB each.
inline constexpr size_t kMostRowGrids = 10;

/// Adds the grid that a row stands for, and the atoms it may carry where the row has none.
void AddRowGrid(Report& report, size_t row, const QXCore::QXScalarGrid& grid);

}  // namespace QXTools
