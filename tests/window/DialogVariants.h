#pragma once

#include <QApplication>
#include <QTranslator>
#include <QVector>

#include <functional>

/// A language whose texts are a third longer than ours.
class LongLanguage : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *source, const char *, int) const override
    {
        const QString text = QString::fromUtf8(source);
        QString longer = text;
        // In words, so that it wraps like any text.
        for (int added = 0; added * 3 < text.size(); ++added)
            longer += QLatin1Char(added > 0 && added % 8 == 0 ? ' ' : 'n');
        return longer;
    }
};

/// Our texts as those of a language that is written from right to left.
class RightToLeftLanguage : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *source, const char *, int) const override
    {
        // What the toolkit asks a language for.
        if (qstrcmp(source, "QT_LAYOUT_DIRECTION") == 0)
            return QStringLiteral("RTL");
        constexpr ushort rightToLeftMark = 0x200f;
        return QChar(rightToLeftMark) + QString::fromUtf8(source);
    }
};

/// Like the dark palettes of the desktops: links are light, too.
inline QPalette darkPalette()
{
    QPalette palette(QColor(0x31, 0x36, 0x3b), QColor(0x2a, 0x2e, 0x32));
    palette.setColor(QPalette::Base, QColor(0x1b, 0x1e, 0x20));
    palette.setColor(QPalette::Link, QColor(0x1d, 0x99, 0xf3).lighter(130));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0xae, 0xe9));
    palette.setColor(QPalette::HighlightedText, Qt::black);
    return palette;
}

/// What a window has to put up with. leave() undoes what enter() did.
struct DialogVariant
{
    const char *name;
    std::function<void()> enter;
    std::function<void()> leave;
};

inline const QVector<DialogVariant> &dialogVariants()
{
    static LongLanguage longLanguage;
    static RightToLeftLanguage rightToLeft;
    // With all roles: the style of Windows fills up a palette that leaves something out from the one before.
    static const QPalette light = [] {
        QPalette palette = QApplication::palette();
        palette.resolve(~0U);
        return palette;
    }();
    static const QVector<DialogVariant> variants{
        {"plain", [] {}, [] {}},
        {"longer texts", [] { QCoreApplication::installTranslator(&longLanguage); },
         [] { QCoreApplication::removeTranslator(&longLanguage); }},
        {"right to left", [] { QCoreApplication::installTranslator(&rightToLeft); },
         [] { QCoreApplication::removeTranslator(&rightToLeft); }},
        {"dark", [] { QApplication::setPalette(darkPalette()); }, [] { QApplication::setPalette(light); }},
    };
    return variants;
}
