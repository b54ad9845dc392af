#include "help/page_printer.h"

#include <memory>

#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QPrinter>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>

namespace {

constexpr double kMarginCentimetres = 2;
constexpr double kCentimetresInAnInch = 2.54;
constexpr double kGap = 0.01;  // inches

// The part of the paper for the text, in the printer's dots.
QRectF TextArea(const QPrinter& printer) {
    const int margin =
        static_cast<int>(printer.logicalDpiY() * kMarginCentimetres / kCentimetresInAnInch);
    return QRectF(0, 0, printer.width(), printer.height())
        .adjusted(margin, margin, -margin, -margin);
}

// The colours of a dark desktop would be hard to see on paper.
void MakeLinksBlack(QTextDocument& document) {
    QList<QTextCursor> links;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextFragment fragment = part.fragment();
            if (fragment.charFormat().isAnchor()) {
                QTextCursor cursor(&document);
                cursor.setPosition(fragment.position());
                cursor.setPosition(fragment.position() + fragment.length(),
                                   QTextCursor::KeepAnchor);
                links << cursor;
            }
        }
    }
    QTextCharFormat black;
    black.setForeground(Qt::black);
    for (QTextCursor& link : links) {
        link.mergeCharFormat(black);
    }
}

// A copy of what is shown, laid out for the paper. It is the view's, which has its pictures.
std::unique_ptr<QTextDocument> LaidOut(QPrinter& printer, QTextEdit& view, const QSizeF& size) {
    std::unique_ptr<QTextDocument> document(view.document()->clone(&view));
    document->setDefaultFont(view.font());
    document->setBaseUrl(view.document()->baseUrl());
    document->setDocumentMargin(0);
    document->documentLayout()->setPaintDevice(&printer);
    document->setPageSize(size);
    MakeLinksBlack(*document);
    return document;
}

void DrawSheet(QPainter& painter, const QTextDocument& document, const QRectF& area, int sheet) {
    const QRectF part(0, sheet * area.height(), area.width(), area.height());
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette.setColor(QPalette::Text, Qt::black);
    // The first line of the next sheet begins where this one ends: it is not to be drawn, and
    // hidden, on both.
    context.clip = part.adjusted(0, 0, 0, -kGap * painter.device()->logicalDpiY());
    painter.save();
    painter.translate(area.topLeft() - part.topLeft());
    painter.setClipRect(part);
    document.documentLayout()->draw(&painter, context);
    painter.restore();
}

void DrawNumber(QPainter& painter, const QFont& font, const QRectF& area, int sheet) {
    painter.setFont(font);
    const QRectF place(area.left(), area.bottom(), area.width(),
                       2 * painter.fontMetrics().height());
    painter.drawText(place, Qt::AlignRight | Qt::AlignBottom, QString::number(sheet + 1));
}

}  // namespace

bool PrintPage(QPrinter& printer, QTextEdit& view) {
    printer.setFullPage(true);
    printer.setDocName(view.documentTitle());
    QPainter painter;
    if (!painter.begin(&printer)) {
        return false;
    }
    const QRectF area = TextArea(printer);
    const QFont font(view.font(), &printer);
    bool isTaken = area.width() >= 1 && area.height() >= QFontMetricsF(font, &printer).height();
    if (isTaken) {
        const auto document = LaidOut(printer, view, area.size());
        const int sheets = document->pageCount();
        for (int sheet = 0; sheet < sheets && isTaken; ++sheet) {
            isTaken = sheet == 0 || printer.newPage();
            DrawSheet(painter, *document, area, sheet);
            DrawNumber(painter, font, area, sheet);
        }
    }
    if (!isTaken) {
        (void)printer.abort();
    }
    return painter.end() && isTaken && printer.printerState() != QPrinter::Error;
}
