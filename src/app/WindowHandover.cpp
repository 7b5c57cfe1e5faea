#include "WindowHandover.h"

#include "batch/BatchDialog.h"
#include "batch/BatchRunsDialog.h"
#include "batch/BatchTexts.h"
#include "db/DbError.h"
#include "entry/Session.h"
#include "structure/StructureWindow.h"
#include "variants/ColourSizeDialog.h"

namespace bom::app {

void WindowHandover::openBatch(const QString& operation, const std::vector<list::ListRow>& parents,
                               const std::vector<list::ListRow>& lines) {
    QStringList boms;
    for (const list::ListRow& parent : parents)
        boms << parent.text(QStringLiteral("iautoid"));
    // The component line is the first one chosen in the component list, by its stored
    // identity (the list need not show its sales order and free items).
    entry::BomIdentity component;
    if (!lines.empty()) {
        try {
            const auto stored = batch::BatchEditor::LineIdentity(
                *session().gConn, lines.front().text(QStringLiteral("autoid")).toLongLong());
            if (!stored) {
                session().ShowInfo(batch::BatchTexts::lineGone());
                return;
            }
            component = *stored;
        } catch (const db::DbError& e) {
            session().ShowInfo(batch::BatchTexts::failed(e.message()));
            return;
        }
    }
    batch::BatchDialog::run(session(), operation, boms, component, list());
}

void WindowHandover::openBatchRuns() {
    batch::BatchRunsDialog(session(), list()).exec();
}

void WindowHandover::openStructure(const QString& headerId) {
    structure::StructureWindow::open(session(), headerId, list());
}

void WindowHandover::openColourSize(const QString& mode, const list::ListRow& parent) {
    variants::ColourSizeDialog::run(session(), mode, parent.text(QStringLiteral("iautoid")),
                                    list());
}

} // namespace bom::app
