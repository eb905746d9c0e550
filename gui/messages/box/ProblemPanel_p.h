#pragma once

#include <QWidget>

#include <memory>

namespace Ui {
class ProblemPanel;
}

/// The part of a message box that names the problem and leads to its solution. Hidden without a problem id.
class ProblemPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ProblemPanel(QWidget *parent = nullptr);
    ~ProblemPanel() override;

    /// See CMessageBox::setSupportPageAddress().
    static bool setSupportPageAddress(const QString &address);

    QString problemId() const;
    void setProblemId(const QString &id);
    /// "Problem ID: 15351"; empty without one.
    QString plainText() const;

Q_SIGNALS:
    /// More or less of it is shown.
    void extentChanged();

private:
    const std::unique_ptr<Ui::ProblemPanel> m_ui;
    const QString m_supportPage;
    QString m_id;
};
