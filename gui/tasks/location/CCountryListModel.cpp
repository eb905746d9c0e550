#include "gui/tasks/location/CCountryListModel.h"

#include "gui/tasks/location/UserInfo.h"

namespace {

const QLatin1String separatorCode("separator");

} // namespace

class CCountryListModel::Private
{
public:
    bool isSeparator(int row) const { return rows.at(row).code == separatorCode; }

    QList<UserInfo::Country> rows;
};

CCountryListModel::CCountryListModel(QObject *parent)
    : QAbstractListModel(parent)
    , d(new Private)
{
    d->rows.append({QString(), UserInfo::selectRegionText()});
    const QList<UserInfo::Country> predefined = UserInfo::predefinedCountries();
    if (!predefined.isEmpty())
        d->rows.append({separatorCode, QString()});
    d->rows += predefined + UserInfo::countries();
}

CCountryListModel::~CCountryListModel() = default;

int CCountryListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : d->rows.size();
}

QVariant CCountryListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return QVariant();
    switch (role) {
    case Qt::DisplayRole:
        return d->rows.at(index.row()).name;
    case CodeRole:
        return d->rows.at(index.row()).code;
    // The mark by which a combo box knows its separators.
    case Qt::AccessibleDescriptionRole:
        return d->isSeparator(index.row()) ? QVariant(QString(separatorCode)) : QVariant();
    default:
        return QVariant();
    }
}

Qt::ItemFlags CCountryListModel::flags(const QModelIndex &index) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || d->isSeparator(index.row()))
        return Qt::NoItemFlags;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled;
}
