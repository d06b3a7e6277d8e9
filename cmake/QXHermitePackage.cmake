# What `cpack` makes: a Debian package of library, tools and Python module, and a source archive.
# To be configured with -DCMAKE_INSTALL_PREFIX=/usr, see the preset `package`.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qxhermite)
set(CPACK_PACKAGE_CONTACT "the QXHermite developers")
set(CPACK_PACKAGE_DESCRIPTION "${PROJECT_DESCRIPTION}.
 Library and headers for C++, the command line qxhermite, and a module for Python.")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(QXHERMITE_BUILD_PYTHON)
  string(REPLACE "." ";" python_version ${QXHERMITE_PYTHON_VERSION})
  list(GET python_version 1 minor)
  math(EXPR next "${minor} + 1")
  set(CPACK_DEBIAN_PACKAGE_DEPENDS
      "python3-numpy, python3 (>= ${QXHERMITE_PYTHON_VERSION}), python3 (<< 3.${next})")
endif()
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "python3-rdkit, python3-tqdm")
# For programs that link the library.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "g++, cmake, libeigen3-dev, librdkit-dev, libboost-dev")

set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME qxhermite-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES "/\\\\.git/;/build/;/install/;/node_modules/;__pycache__;\\\\.egg-info/;\\\\.venv/")

include(CPack)
