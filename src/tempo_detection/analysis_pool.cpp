#include "tempo_detection/analysis_pool.h"

#include <QCoreApplication>
#include <QThreadPool>

namespace quorlen {

QThreadPool& analysisPool() {
    // Up to 4 jobs: the current analysis, cancelled ones still winding down
    // and a tag save, which the application's end waits for like the rest.
    static QThreadPool* pool = [] {
        auto* created = new QThreadPool(QCoreApplication::instance());
        created->setMaxThreadCount(4);
        return created;
    }();
    return *pool;
}

} // namespace quorlen
