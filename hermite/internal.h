#pragma once

// The free functions that stand under the exported interface: for this project's own code and
// tests. They may change between versions.

#include "hermite/expansion/gaussian_integrals.h"
#include "hermite/expansion/grid_evaluation.h"
#include "hermite/expansion/grid_projection.h"
#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/foundations/basis.h"
#include "hermite/foundations/hermite_function.h"
#include "hermite/frame/center_of_mass.h"
#include "hermite/frame/inertial_orientation.h"
#include "hermite/frame/moments.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/frame/rotation_kernel.h"
#include "hermite/frame/translation_kernel.h"
#include "hermite/gridatoms/gaussian_design.h"
#include "hermite/gridatoms/thinning.h"
#include "hermite/multihermite/design_matrix.h"
#include "hermite/multihermite/multi_hermite.h"
#include "hermite/multihermite/multi_hermite_base.h"
#include "hermite/multihermite/multi_hermite_parameters.h"
#include "hermite/multihermite/site_tables.h"
#include "hermite/multihermite/term_kernels.h"
#include "hermite/overlay/cos_angle.h"
#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/shape_overlay.h"
