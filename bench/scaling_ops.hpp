// Every operation of both objects that takes a plane, called through the public header with
// the parameters a host would pass.
#ifndef IMGTARN_BENCH_SCALING_OPS_HPP
#define IMGTARN_BENCH_SCALING_OPS_HPP

#include <functional>
#include <string>
#include <vector>

#include "scaling_scenes.hpp"

namespace bench {

// One prepared call: `reset` (untimed) restores what the previous call changed in place,
// `run` is the timed call.
struct Call {
  std::function<void()> reset;
  std::function<void()> run;
};

struct Operation {
  std::string name;
  Feature feature;       // what its board carries
  double goal;           // exponent goal on the noisy board
  std::string goalNote;  // where the algorithm ties the cost to more than the pixels
  std::function<Call(const Scene&)> prepare;
  // The OpenCV routine that carries most of the work, timed alone on the same planes, so the
  // report shows how much of the growth is OpenCV's own (empty: none).
  std::string referenceName;
  std::function<Call(const Scene&)> reference;
};

const std::vector<Operation>& Operations();

}  // namespace bench

#endif  // IMGTARN_BENCH_SCALING_OPS_HPP
