# Finds RDKit and makes the target RDKit::RDKit, with the libraries that molecule files and
# Gasteiger charges need. Debian's librdkit-dev brings no CMake package of its own.

find_path(RDKit_INCLUDE_DIR GraphMol/RWMol.h PATH_SUFFIXES rdkit)
find_path(RDKit_BOOST_INCLUDE_DIR boost/version.hpp)
mark_as_advanced(RDKit_INCLUDE_DIR RDKit_BOOST_INCLUDE_DIR)

set(RDKit_LIBRARIES)
set(_rdkit_required RDKit_INCLUDE_DIR RDKit_BOOST_INCLUDE_DIR)
foreach(_name FileParsers SmilesParse PartialCharges GraphMol RDGeometryLib RDGeneral)
  find_library(RDKit_${_name}_LIBRARY NAMES RDKit${_name})
  mark_as_advanced(RDKit_${_name}_LIBRARY)
  list(APPEND RDKit_LIBRARIES ${RDKit_${_name}_LIBRARY})
  list(APPEND _rdkit_required RDKit_${_name}_LIBRARY)
endforeach()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(RDKit REQUIRED_VARS ${_rdkit_required}
  REASON_FAILURE_MESSAGE "install librdkit-dev, or configure with -DQXHERMITE_WITH_RDKIT=OFF")

if(RDKit_FOUND AND NOT TARGET RDKit::RDKit)
  add_library(RDKit::RDKit INTERFACE IMPORTED)
  target_include_directories(RDKit::RDKit SYSTEM INTERFACE
    ${RDKit_INCLUDE_DIR} ${RDKit_BOOST_INCLUDE_DIR})
  target_link_libraries(RDKit::RDKit INTERFACE ${RDKit_LIBRARIES})
endif()
