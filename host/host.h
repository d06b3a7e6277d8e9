#pragma once

// All classes of the host toolkit.

#include "host/core/base.h"
#include "host/core/gaussian.h"
#include "host/core/options.h"
#include "host/core/runtime.h"
#include "host/core/throw.h"
#include "host/minimizer/bfgs.h"
#include "host/minimizer/func.h"
#include "host/minimizer/newton.h"
#include "host/minimizer/status.h"
#include "host/molkit/atom.h"
#include "host/molkit/charges.h"
#include "host/molkit/iterator.h"
#include "host/molkit/mcmolbase.h"
#include "host/molkit/mol.h"
#include "host/molkit/molbase.h"
#include "host/molkit/molstream.h"
#include "host/molkit/sdtext.h"
#include "host/molkit/trans.h"
#include "host/numerics/quaternion.h"
