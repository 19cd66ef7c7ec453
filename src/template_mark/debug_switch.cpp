// The two process-wide debug switches: each operation overwrites its own at the start of a
// call and every stage it runs reads it back, so the stages need no debug argument.
#include <atomic>

#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

std::atomic<int> crossDebug{0};
std::atomic<int> rectangleDebug{0};

std::atomic<int>& SwitchOf(MarkKind kind) {
  return kind == MarkKind::kCross ? crossDebug : rectangleDebug;
}

}  // namespace

void SetDebugSwitch(MarkKind kind, int value) { SwitchOf(kind).store(value); }

int DebugSwitch(MarkKind kind) { return SwitchOf(kind).load(); }

}  // namespace imgtarn::template_mark
