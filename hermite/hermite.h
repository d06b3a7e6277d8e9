#pragma once

// Every exported class and function of the library.

#include "hermite/expansion/gaussian_to_hermite.h"
#include "hermite/expansion/hermite.h"
#include "hermite/expansion/mol_to_gaussians.h"
#include "hermite/foundations/basis.h"
#include "hermite/foundations/hermite_function.h"
#include "hermite/foundations/options.h"
#include "hermite/frame/best_lambda.h"
#include "hermite/frame/center_of_mass.h"
#include "hermite/frame/inertial_orientation.h"
#include "hermite/frame/rigid_motion.h"
#include "hermite/frame/rotation.h"
#include "hermite/frame/translation.h"
#include "hermite/overlay/overlap.h"
#include "hermite/overlay/overlay_results.h"
#include "hermite/overlay/shape_overlay.h"
#include "hermite/overlay/tanimoto.h"
