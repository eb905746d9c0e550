#include "tests/window/DialogTable.h"
#include "tests/window/DialogVariants.h"

#include "gui/KovGui.h"
#include "gui/log/Log.h"
#include "tests/support/Files.h"
#include "tests/support/KovTest.h"

#include <QAccessible>
#include <QComboBox>
#include <QDirIterator>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScreen>
#include <QStyleOptionProgressBar>
#include <QWindow>

#include <cmath>
#include <memory>

namespace {

/// The names of the widgets that Tab reaches, from the one that has the focus at first round to it again.
QStringList walkWithTab(QWidget *dialog)
{
    QStringList names;
    const QWidget *const first = QApplication::focusWidget();
    do {
        const QWidget *widget = QApplication::focusWidget();
        if (!widget || !dialog->isAncestorOf(widget))
            return {};
        // A label with a link is one stop for itself and one for the link.
        if (!names.endsWith(widget->objectName()))
            names.append(widget->objectName());
        QTest::keyClick(dialog->windowHandle(), Qt::Key_Tab);
    } while (QApplication::focusWidget() != first && names.size() < 30);
    return names;
}

QStringList faultsOf(QWidget *dialog)
{
    QStringList faults;
    const auto expect = [&](bool ok, const QWidget *widget, const char *fault) {
        if (!ok)
            faults.append(QStringLiteral("%1 %2 %3 (%4 x %5)")
                              .arg(QLatin1String(widget->metaObject()->className()), widget->objectName(),
                                   QLatin1String(fault))
                              .arg(widget->width())
                              .arg(widget->height()));
    };
    const QList<QLabel *> labels = dialog->findChildren<QLabel *>();
    // At 150 % a window's size is rounded to whole pixels of the screen.
    constexpr int rounding = 1;
    QMap<QKeySequence, const QWidget *> mnemonics;
    for (QWidget *widget : dialog->findChildren<QWidget *>()) {
        // The toolkit's own parts.
        if (widget->inherits("QScrollBar") || widget->inherits("QSizeGrip")
            || widget->objectName().startsWith(QLatin1String("qt_")))
            continue;
        expect(!widget->objectName().isEmpty(), widget, "has no name");
        if (!widget->isVisible())
            continue;
        const auto *const label = qobject_cast<const QLabel *>(widget);
        const auto *const button = qobject_cast<const QAbstractButton *>(widget);
        if (widget->focusPolicy() & Qt::TabFocus && !widget->focusProxy()) {
            auto *interface = QAccessible::queryAccessibleInterface(widget);
            expect(!interface->text(QAccessible::Name).isEmpty(), widget, "tells a screen reader nothing");
            expect(interface->role() != QAccessible::Client, widget, "has no role");
        }
        if (qobject_cast<const QLineEdit *>(widget) || qobject_cast<const QComboBox *>(widget)) {
            expect(std::any_of(labels.begin(), labels.end(),
                               [widget](const QLabel *any) { return any->buddy() == widget; }),
                   widget, "is no label's buddy");
        }
        if (label)
            expect(!label->buddy() || label->buddy()->isVisible(), label, "names what is not there");
        const bool hasMnemonic = button || (label && label->buddy());
        const QKeySequence mnemonic
            = hasMnemonic ? QKeySequence::mnemonic(label ? label->text() : button->text()) : QKeySequence();
        expect(mnemonic.isEmpty() || !mnemonics.contains(mnemonic), widget, "has another's mnemonic");
        mnemonics.insert(mnemonic, widget);

        // The name of a file may be cut in the middle, a text of ours may not.
        expect(!label || label->objectName() == QLatin1String("m_lblFileName")
                   || !label->text().contains(QChar(0x2026)),
               widget, "is cut short");
        const int height = widget->hasHeightForWidth() ? widget->heightForWidth(widget->width())
                                                       : widget->minimumSizeHint().height();
        const bool showsText = label || button;
        expect(!showsText || widget->height() + rounding >= height, widget,
               qPrintable(QStringLiteral("is cut below %1").arg(height)));
        expect(!showsText || widget->width() + rounding >= widget->minimumSizeHint().width(), widget,
               qPrintable(QStringLiteral("is cut at a side %1").arg(widget->minimumSizeHint().width())));
        const QRect room = widget->parentWidget()->rect().adjusted(-rounding, -rounding, rounding, rounding);
        const bool isScrolled
            = widget->parentWidget()->objectName() == QLatin1String("qt_scrollarea_viewport");
        // QWizard has empty placeholders that no layout ever reaches.
        const bool isEmpty
            = widget->metaObject() == &QWidget::staticMetaObject && widget->children().isEmpty();
        expect(isEmpty || isScrolled || room.contains(widget->geometry()), widget, "leaves its parent");
    }
    return faults;
}

/// By the formula of the Web Content Accessibility Guidelines 2, from 1 to 21.
double contrast(const QColor &one, const QColor &other)
{
    const auto luminance = [](const QColor &color) {
        const auto linear = [](double part) {
            return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
               + 0.0722 * linear(color.blueF());
    };
    const double a = luminance(one) + 0.05;
    const double b = luminance(other) + 0.05;
    return std::max(a, b) / std::min(a, b);
}

/// What is behind a text: the edge of a button, and a progress bar itself, stand out, too.
QRect textPlace(const QWidget *widget)
{
    const auto *bar = qobject_cast<const QProgressBar *>(widget);
    if (!bar) {
        const int edge = qobject_cast<const QPushButton *>(widget) ? 4 : 0;
        return widget->rect().adjusted(edge, edge, -edge, -edge);
    }
    QStyleOptionProgressBar option;
    option.initFrom(bar);
    option.text = bar->text();
    option.textVisible = true;
    option.textAlignment = bar->alignment();
    const QRect label = bar->style()->subElementRect(QStyle::SE_ProgressBarLabel, &option, bar);
    const QSize text(bar->fontMetrics().horizontalAdvance(option.text), label.height() - 6);
    return QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, text, label);
}

/// As drawn: between the colour that covers most and the one that stands out most.
double drawnContrast(QWidget *widget)
{
    const QImage image = widget->grab(textPlace(widget)).toImage();
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y)];
    }
    const auto most = std::max_element(counts.begin(), counts.end());
    double best = 0;
    for (auto count = counts.begin(); most != counts.end() && count != counts.end(); ++count)
        best = std::max(best, contrast(QColor(count.key()), QColor(most.key())));
    return best;
}

QStringList faintTexts(QWidget *dialog)
{
    QStringList faint;
    const auto widgets = dialog->findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        const auto *const label = qobject_cast<const QLabel *>(widget);
        const auto *const button = qobject_cast<const QAbstractButton *>(widget);
        const auto *const bar = qobject_cast<const QProgressBar *>(widget);
        const bool hasText = (label && !label->text().isEmpty()) || (button && !button->text().isEmpty())
                             || (bar && bar->isTextVisible() && !bar->text().isEmpty());
        // What cannot be used is dimmed in every style.
        if (!widget->isVisible() || !widget->isEnabled() || !hasText)
            continue;
        const double drawn = drawnContrast(widget);
        if (drawn < 4.5)
            faint.append(QStringLiteral("%1 %2").arg(widget->objectName()).arg(drawn));
        const QPalette palette = widget->palette();
        const bool hasLink = label && label->text().contains(QLatin1String("<a "));
        const double link = contrast(palette.color(QPalette::Link), palette.color(widget->backgroundRole()));
        if (hasLink && link < 4.5)
            faint.append(QStringLiteral("%1 link %2").arg(widget->objectName()).arg(link));
    }
    return faint;
}

/// Buttons and labels by name, where they lie in their dialog.
QMap<QString, QRect> placesIn(const QWidget *dialog)
{
    QMap<QString, QRect> places;
    const auto widgets = dialog->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const bool isPart
            = qobject_cast<const QAbstractButton *>(widget) || qobject_cast<const QLabel *>(widget);
        if (isPart && widget->isVisible())
            places.insert(widget->objectName(), {widget->mapTo(dialog, QPoint()), widget->size()});
    }
    return places;
}

/// Whether somebody who reads the dialog meets the names in this order: it may start anywhere, and then goes
/// on to the right and down, but for one way back to the top.
bool followsTheEye(const QWidget *dialog, const QStringList &names)
{
    int waysBack = 0;
    for (int i = 0; i < names.size(); ++i) {
        const auto *from = dialog->findChild<QWidget *>(names.at(i));
        const auto *to = dialog->findChild<QWidget *>(names.at((i + 1) % names.size()));
        if (!from || !to)
            continue;
        const QRect a(from->mapTo(dialog, QPoint()), from->size());
        const QRect b(to->mapTo(dialog, QPoint()), to->size());
        const bool isBelow = b.top() > a.center().y() || b.center().y() > a.bottom();
        const bool isInRow = !isBelow && b.bottom() >= a.center().y();
        waysBack += !isBelow && !(isInRow && b.left() >= a.left()) ? 1 : 0;
    }
    return waysBack <= 1;
}

} // namespace

/// What every dialog owes to the keyboard, to a screen reader and to the screen's scale, which the build runs
/// this program at.
class tst_Dialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KovGui::setLogOutputFunction([](const char *, std::size_t) {});
        KovGui::init(KAM_CONSOLE);
        CMessageBox::setSupportPageAddress(QStringLiteral("https://support.example/%1"));
    }

    /// A class that other dialogs derive from needs no row.
    void everyDialogHasARow()
    {
        const QRegularExpression declaration(
            QStringLiteral(R"(class (?:KOVGUI_EXPORT )?(\w+) (?:final )?: public )"
                           R"(([QC]\w*Dialog|Q(?:MainWindow|Wizard|MessageBox)|C\w*WndBase)\b)"));
        QMap<QString, QString> baseOf;
        for (QDirIterator it(QStringLiteral(KOV_SOURCE_DIR "/gui"),
                             {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                             QDirIterator::Subdirectories);
             it.hasNext();) {
            auto match = declaration.globalMatch(QString::fromUtf8(fileContent(it.next())));
            while (match.hasNext()) {
                const QRegularExpressionMatch found = match.next();
                baseOf.insert(found.captured(1), found.captured(2));
            }
        }
        QSet<QString> missing(baseOf.keyBegin(), baseOf.keyEnd());
        QVERIFY(missing.contains(QStringLiteral("CMessageBox")));
        for (const QString &base : qAsConst(baseOf))
            missing.remove(base);
        for (const DialogRow &row : dialogTable())
            missing.remove(QLatin1String(row.className));
        QCOMPARE(missing.values().join(QLatin1Char(' ')), QString());
    }

    void dialog_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("variant");
        for (int i = 0; i < dialogTable().size(); ++i) {
            for (int j = 0; j < dialogVariants().size(); ++j)
                row(qPrintable(QStringLiteral("%1, %2").arg(QLatin1String(dialogTable().at(i).name),
                                                            QLatin1String(dialogVariants().at(j).name))),
                    i, j);
        }
    }
    void dialog()
    {
        QFETCH(int, index);
        QFETCH(int, variant);
        const DialogRow &row = dialogTable().at(index);
        dialogVariants().at(variant).enter();
        const auto leave = qScopeGuard(dialogVariants().at(variant).leave);
        const bool isDark = QApplication::palette().color(QPalette::Window).lightness() < 128;
        if (isDark && QApplication::style()->inherits("QWindowsVistaStyle"))
            QSKIP("The style of Windows draws buttons light in every palette.");
        const std::unique_ptr<QWidget> dialog(row.make());
        const bool takesKeys = *row.tabOrder;
        dialog->show();
        QVERIFY(takesKeys ? QTest::qWaitForWindowActive(dialog.get(), 30000)
                          : QTest::qWaitForWindowExposed(dialog.get(), 30000));
        QCOMPARE(dialog->metaObject()->className(), row.className);
        QCOMPARE(dialog->objectName(), QLatin1String(row.className));
        QVERIFY(!dialog->windowTitle().isEmpty());
        QCOMPARE(QAccessible::queryAccessibleInterface(dialog.get())->role(),
                 takesKeys ? QAccessible::Dialog : QAccessible::Notification);
        QTRY_COMPARE(faultsOf(dialog.get()).join(QLatin1Char('\n')), QString());
        QCOMPARE(faintTexts(dialog.get()).join(QLatin1Char('\n')), QString());
        if (takesKeys) {
            QTRY_VERIFY(dialog->isAncestorOf(QApplication::focusWidget()));
            // Some buttons wait for what is prepared in the background.
            QStringList order;
            QTRY_COMPARE((order = walkWithTab(dialog.get())).join(QLatin1Char(' ')),
                         QLatin1String(row.tabOrder));
            QVERIFY(dialog->isRightToLeft() || followsTheEye(dialog.get(), order));
        }
        QCOMPARE(dialog->devicePixelRatioF(), qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
        const QRect room = dialog->screen()->availableGeometry();
        // The widget keeps what it heard of the frame while the window manager was making it.
        const auto place = [&dialog] { return dialog->windowHandle()->frameGeometry(); };
        QTRY_VERIFY2(room.contains(place()), qPrintable(QStringLiteral("%1 x %2 at %3, %4")
                                                            .arg(place().width())
                                                            .arg(place().height())
                                                            .arg(place().x())
                                                            .arg(place().y())));

        QTest::keyClick(dialog->windowHandle(), Qt::Key_Escape);
        QTRY_COMPARE(!dialog->isVisible(), row.escapeHides);
    }

    void mirrors_data()
    {
        Table<int> row;
        for (int i = 0; i < dialogTable().size(); ++i)
            row(dialogTable().at(i).name, i);
    }
    void mirrors()
    {
        const auto [index] = cells<int>();
        const auto placesWhenShown = [row = dialogTable().at(index)] {
            const std::unique_ptr<QWidget> dialog(row.make());
            dialog->show();
            // A report's preparation has a label of its own.
            const auto *send = dialog->findChild<QAbstractButton *>(QStringLiteral("m_pbSend"));
            (void)QTest::qWaitFor([send] { return !send || send->isEnabled(); }, 30000);
            dialog->resize(dialog->sizeHint().expandedTo(dialog->minimumSize()));
            QCoreApplication::sendPostedEvents();
            return qMakePair(dialog->width(), placesIn(dialog.get()));
        };
        const auto ours = placesWhenShown();
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        const auto leave = qScopeGuard([] { QGuiApplication::setLayoutDirection(Qt::LeftToRight); });
        const auto theirs = placesWhenShown();
        QCOMPARE(theirs.first, ours.first);
        for (auto place = ours.second.begin(); place != ours.second.end(); ++place) {
            const QRect mirrored = theirs.second.value(place.key());
            const int offset = ours.first - place.value().right() - 1 - mirrored.left();
            QVERIFY2(qAbs(offset) <= 2, qPrintable(QStringLiteral("%1 %2").arg(place.key()).arg(offset)));
        }
    }
};

KOV_TEST_MAIN(QApplication, tst_Dialogs)
#include "tst_dialogs.moc"
