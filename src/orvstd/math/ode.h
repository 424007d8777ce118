// An adaptive integrator for systems of ordinary differential equations
// dy/dx = f(x, y): embedded Runge-Kutta steps of orders five and four
// (Cash-Karp), the step size driven by the difference between the two.
//
// Each component's error is measured against |y| + h·|dy/dx|, so eps is a
// relative tolerance that turns absolute near zero crossings.
//
//   void decay(double, std::vector<double> const& y, void const*, std::vector<double>& dydx) {
//     dydx[0] = -y[0];
//   }
//   std::vector<double> y{1.0};
//   bool done = cfIntegrateODE(0, 2, 0.1, 1e-12, 1e-10, decay, nullptr, y);  // y[0] ~ exp(-2)
#ifndef ORVSTD_MATH_ODE_H_
#define ORVSTD_MATH_ODE_H_

#include <vector>

// Integrates y from x0 to x1 (x1 >= x0, asserted) starting with step h.
// derivs receives x, y and data and writes dy/dx into a vector already of
// y's size. Takes at most 10000 accepted steps and stops when the step
// would fall below hMin; returns whether x1 was reached, leaving y at the
// point reached either way. A rejected trial shrinks h and is tried again
// without counting as a step. x0 == x1 returns true at once.
bool cfIntegrateODE(double x0, double x1, double h, double hMin, double eps,
                    void (*derivs)(double x, std::vector<double> const& y, void const* data,
                                   std::vector<double>& dydx),
                    void const* data, std::vector<double>& y);

#endif  // ORVSTD_MATH_ODE_H_
