// Makes tests/data/hermite/coulomb.txt: Coulomb integrals of Hermite Gaussians by libint, in which
// they are sums over Cartesian Gaussians.
//
//   g++ -std=c++17 -I/usr/include/eigen3 coulomb_libint.cpp -lint2 -o coulomb_libint (libint2-dev)
//   ./coulomb_libint > ../data/hermite/coulomb.txt
//
// A line for each of two sites: its width lambda and its centre; a third with a point. Then, for
// each function H_l H_m H_n exp(-|u|^2), u = lambda (r - centre), of degree 3 and less of the first
// site, "l m n" with its potential at the point, and with its interaction with each function of
// degree 2 and less of the second, in shell order. Each number comes with the sum of the magnitudes
// of the terms that it is the sum of. All without a Coulomb constant.

#include <cmath>
#include <cstdio>
#include <libint2.hpp>
#include <vector>

namespace {

using Point = std::array<double, 3>;

const double kHermite[4][4] = {{1}, {0, 2}, {-2, 0, 4}, {0, -12, 0, 8}};  // powers of t

struct Cartesian {
  int Degree() const { return a + b + c; }
  // Among those of its degree: xx, xy, xz, yy, yz, zz.
  int Place() const { return (b + c) * (b + c + 1) / 2 + c; }
  int a, b, c;
  double factor;
};

// H_l(lambda x) H_m(lambda y) H_n(lambda z) in powers of x, y, z.
std::vector<Cartesian> Expand(int l, int m, int n, double lambda) {
  std::vector<Cartesian> terms;
  for (int a = l; a >= 0; a -= 2)
    for (int b = m; b >= 0; b -= 2)
      for (int c = n; c >= 0; c -= 2)
        terms.push_back(
            {a, b, c,
             kHermite[l][a] * kHermite[m][b] * kHermite[n][c] * std::pow(lambda, a + b + c)});
  return terms;
}

libint2::Shell Cartesians(int degree, double lambda, const Point& center) {
  return {{lambda * lambda}, {{degree, false, {1.0}}}, {center}};
}

struct Sum {
  void Add(double term) { value += term, magnitude += std::fabs(term); }
  void Print() const { std::printf(" %.17g %.3g", value, magnitude); }
  double value = 0, magnitude = 0;
};

template <class Visit>
void ForShellOrder(int degree, Visit visit) {
  for (int s = 0; s <= degree; ++s)
    for (int l = 0; l <= s; ++l)
      for (int m = 0; m + l <= s; ++m) visit(l, m, s - l - m);
}

}  // namespace

int main() {
  libint2::initialize();
  libint2::Shell::do_enforce_unit_normalization(false);
  const double lambdas[2] = {0.9, 1.4};
  const Point centers[2] = {{0.3, -0.2, 0.5}, {-0.4, 0.7, 1.25}}, point = {1.1, 0.4, -0.6};
  for (int i = 0; i < 2; ++i)
    std::printf("%g %g %g %g\n", lambdas[i], centers[i][0], centers[i][1], centers[i][2]);
  std::printf("%g %g %g\n", point[0], point[1], point[2]);

  const libint2::Shell unit = libint2::Shell::unit();
  libint2::Engine repulsion(libint2::Operator::coulomb, 1, 3),
      attraction(libint2::Operator::nuclear, 1, 3);
  attraction.set_params(std::vector<std::pair<double, Point>>{{-1.0, point}});
  ForShellOrder(3, [&](int l, int m, int n) {
    std::printf("%d %d %d", l, m, n);
    const auto terms = Expand(l, m, n, lambdas[0]);
    Sum potential;
    for (const Cartesian& term : terms) {
      const auto shell = Cartesians(term.Degree(), lambdas[0], centers[0]);
      attraction.compute(shell, unit);
      potential.Add(term.factor / shell.contr[0].coeff[0] * attraction.results()[0][term.Place()]);
    }
    potential.Print();
    ForShellOrder(2, [&](int l2, int m2, int n2) {
      const auto others = Expand(l2, m2, n2, lambdas[1]);
      Sum energy;
      for (const Cartesian& term : terms) {
        const auto shell = Cartesians(term.Degree(), lambdas[0], centers[0]);
        for (const Cartesian& other : others) {
          const int degree = other.Degree();
          const auto second = Cartesians(degree, lambdas[1], centers[1]);
          repulsion.compute(shell, unit, second, unit);
          const int size = (degree + 1) * (degree + 2) / 2;
          energy.Add(term.factor * other.factor / shell.contr[0].coeff[0] /
                     second.contr[0].coeff[0] *
                     repulsion.results()[0][term.Place() * size + other.Place()]);
        }
      }
      energy.Print();
    });
    std::printf("\n");
  });
  libint2::finalize();
}
