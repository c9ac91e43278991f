#pragma once

#include <functional>

class QThreadPool;

namespace quorlen {

// The threads that run detection jobs. The pool belongs to the application
// object, whose destruction waits for every job: a job cancelled as its
// window closes still finishes (within a fraction of a second) before the
// process tears down what it uses.
QThreadPool& analysisPool();

} // namespace quorlen
