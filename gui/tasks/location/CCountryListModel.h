#pragma once

#include "gui/KovGuiGlobal.h"

#include <QAbstractListModel>

#include <memory>

/**
 * The countries for a selector: a prompt with an empty code, then, if there are any, a separator and
 * UserInfo::predefinedCountries(), then all of UserInfo::countries(). Read once, at construction.
 *
 * Separators can neither be chosen nor focused, and a combo box draws them as lines. To preselect a country:
 * `box->setCurrentIndex(box->findData(code))`.
 */
class KOVGUI_EXPORT CCountryListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role {
        CodeRole = Qt::UserRole, ///< two letters, empty for the prompt, "separator" for a separator
    };

    explicit CCountryListModel(QObject *parent = nullptr);
    ~CCountryListModel() override;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
