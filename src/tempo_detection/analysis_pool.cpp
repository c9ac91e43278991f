#include "tempo_detection/analysis_pool.h"

#include <QCoreApplication>
#include <QThreadPool>

namespace quorlen {

QThreadPool& analysisPool() {
    // Up to 4 jobs: the current one and cancelled ones still winding down.
    static QThreadPool* pool = [] {
        auto* created = new QThreadPool(QCoreApplication::instance());
        created->setMaxThreadCount(4);
        return created;
    }();
    return *pool;
}

} // namespace quorlen
