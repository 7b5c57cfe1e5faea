#include "Commands.h"
#include "CtlContext.h"
#include "bomservice/BomAccess.h"
#include "card/CardDocument.h"
#include "card/CardPrintSettings.h"
#include "card/CardPrinter.h"
#include "card/CardTemplates.h"
#include "card/HeadlessCardForm.h"
#include "card/ListOrderNavigator.h"
#include "card/clsVoucher.h"
#include "entry/Session.h"

#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QTextDocument>

namespace bom::app {
namespace {

// The document paginated on A4 with the page number under each page; answers the number of
// pages, 0 when the file could not be written (`error` set).
int writePdf(const QString& title, const QString& html, const QString& path, QString* error) {
    QPdfWriter writer(path);
    writer.setTitle(title);
    writer.setCreator(QStringLiteral("bomctl"));
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageMargins(QMarginsF(15, 15, 15, 15), QPageLayout::Millimeter);
    QPainter painter;
    if (!painter.begin(&writer)) {
        *error = QStringLiteral("无法写入 PDF 文件：%1").arg(path);
        return 0;
    }
    QTextDocument document;
    document.documentLayout()->setPaintDevice(&writer);
    document.setHtml(html);
    const QSizeF page = writer.pageLayout().paintRectPixels(writer.resolution()).size();
    painter.setFont(document.defaultFont());
    const qreal footer = painter.fontMetrics().height() * 2;
    const qreal body = page.height() - footer;
    document.setPageSize(QSizeF(page.width(), body));
    const int pages = document.pageCount();
    for (int i = 0; i < pages; ++i) {
        if (i > 0)
            writer.newPage();
        const QRectF shown(0, i * body, page.width(), body);
        painter.save();
        painter.translate(0, -shown.top());
        painter.setClipRect(shown);
        QAbstractTextDocumentLayout::PaintContext context;
        context.clip = shown;
        document.documentLayout()->draw(&painter, context);
        painter.restore();
        painter.drawText(QRectF(0, body, page.width(), footer), Qt::AlignCenter,
                         QStringLiteral("第 %1 页 / 共 %2 页").arg(i + 1).arg(pages));
    }
    painter.end();
    return pages;
}

// The print template the window would use: the one asked for, else the operator's own, else
// the card's default, among those he may use.
std::optional<int> printTemplate(CtlContext& ctx, int requested) {
    card::CardTemplates templates(ctx.session());
    const int wanted =
        requested > 0 ? requested : card::CardPrintSettings(ctx.session()).load().printTemplateId;
    const card::TemplateCombo combo = templates.fill(QLatin1String(card::clsVoucher::kCardNumber),
                                                     card::CardTemplates::kPrint, wanted);
    const auto chosen = combo.selectedId();
    if (chosen && requested > 0 && *chosen != requested) {
        ctx.fail(ExitRefused, QStringLiteral("打印模版[%1]不存在或无权使用").arg(requested));
        return std::nullopt;
    }
    if (!chosen)
        ctx.finish(ExitRefused);
    return chosen;
}

int runPrint(CtlContext& ctx) {
    const auto pdf = ctx.args().option(QStringLiteral("--pdf"));
    const auto requested = ctx.args().option(QStringLiteral("--template"));
    const auto words = ctx.positional(1, 1);
    if (!words)
        return ExitUsage;
    if (!pdf || pdf->trimmed().isEmpty())
        return ctx.usage(QStringLiteral("print 需要 --pdf FILE"));
    bool ok = true;
    const int requestedId = requested ? requested->toInt(&ok) : 0;
    if (!ok || requestedId < 0)
        return ctx.usage(QStringLiteral("--template 需要正整数：%1").arg(*requested));
    if (const int status = ctx.startSession())
        return status;
    entry::Session& session = ctx.session();
    const QString id = words->first();
    if (!bomservice::BomAccess(session).MayTouch(id))
        return ctx.bomGone();
    // The card window's own command, so its right and its checks apply as they stand.
    card::CardDocument document(session);
    card::HeadlessCardForm form;
    card::ListOrderNavigator navigator(session);
    card::clsVoucher voucher(session, document, form, navigator);
    if (!voucher.voucherTemplate() || !voucher.LoadCard(id))
        return ctx.finish(ExitRefused);
    const auto printId = printTemplate(ctx, requestedId);
    if (!printId)
        return ExitRefused;
    voucher.state.printTemplateId = *printId;
    if (!voucher.ExecuteCommand(QStringLiteral("PRINT")) || form.prints.empty())
        return ctx.finish(ExitRefused);
    const int displayId = card::CardPrintSettings(session).load().displayTemplateId;
    const QString title = voucher.voucherTemplate()->cCardName;
    const QString html =
        card::CardPrinter::html(title, document.getVoucherData(),
                                card::CardPrinter(session).layoutOf(
                                    form.prints.back().printTemplateId,
                                    displayId > 0 ? displayId : voucher.voucherTemplate()->DEF_ID));
    QString error;
    const int pages = writePdf(title, html, *pdf, &error);
    if (pages == 0)
        return ctx.fail(ExitRefused, error);
    ctx.printLine(QStringLiteral("%1（%2 页）").arg(*pdf).arg(pages));
    return ctx.finish(ExitOk, {{"pdf", *pdf}, {"pages", pages}, {"template", *printId}});
}

} // namespace

std::vector<Command> printCommands() {
    return {
        {"print",
         "print IAUTOID --pdf FILE [--template ID]   (the card as its print template lays "
         "it out)",
         runPrint, true},
    };
}

} // namespace bom::app
