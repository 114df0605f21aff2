#pragma once

// The constraint layout engine in one include: variables, expressions, constraints, strengths and
// the solver.
#include "toolkit/layout/Constraint.h"
#include "toolkit/layout/Expression.h"
#include "toolkit/layout/Solver.h"
#include "toolkit/layout/Strength.h"
#include "toolkit/layout/Variable.h"
