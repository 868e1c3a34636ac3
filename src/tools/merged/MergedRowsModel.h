#pragma once

#include "tools/merged/MergedOutlineModel.h"

/// How the rows of one kind look in an outline: what a tool has to say about them. What is given as it stands
/// in the source is translated when it is shown: QT_TRANSLATE_NOOP("MergedOutlineModel", "Name").
template <typename Row>
struct RowsLook {
    struct Column {
        const char* title;
        bool hasValue;  ///< a client without the thing cannot have one
        QVariant (*ofRow)(const Row& row, int role);
        QVariant (*ofCopy)(const ClientCopy& copy, int role) = nullptr;
    };
    /// Something that clients disagree about.
    struct Difference {
        int state;  ///< the row's state when this is what it names
        bool (*isIn)(const Row& row);
        QString (*text)(const Row& row);
        const char* title = nullptr;  ///< over what each client has; null: the text says it all
        QString (*ofCopy)(const ClientCopy& copy) = nullptr;
    };
    std::vector<Column> columns;
    std::vector<Difference> differences;
    int checkColumn;
    const char* absentText;  ///< "Not installed"
    bool (*matches)(const Row& row, const QString& text);
    bool isOncePerClient = false;  ///< a client that has it twice is worth a word
};

/// Merged rows as an outline.
template <typename Row>
class MergedRowsModel : public MergedOutlineModel {
public:
    /// `look` outlives the model.
    MergedRowsModel(const RowsLook<Row>& look, FriendlyName friendlyName)
        : MergedOutlineModel(headings(look), look.absentText, std::move(friendlyName)), m_look(look) {}

    void setRows(QList<Row> rows) {
        replaceRows([&] {
            m_rows = std::move(rows);
            return int(m_rows.size());
        });
    }
    [[nodiscard]] const QList<Row>& rows() const { return m_rows; }
    [[nodiscard]] const MergedRow& row(int row) const override { return m_rows.at(row); }
    [[nodiscard]] QString rowKey(int row) const override { return m_rows.at(row).key(); }
    [[nodiscard]] const QStringList& columnNames() const override { return Row::columnNames(); }

protected:
    [[nodiscard]] const QString& copyKey() const override { return Row::copyKey(); }
    [[nodiscard]] QVariant rowData(int row, int column, int role) const override {
        return m_look.columns[size_t(column)].ofRow(m_rows.at(row), role);
    }
    [[nodiscard]] QVariant copyData(const ClientCopy& copy, int column, int role) const override {
        if (size_t(column) >= m_look.columns.size()) return {};
        const auto ofCopy = m_look.columns[size_t(column)].ofCopy;
        return ofCopy ? ofCopy(copy, role) : QVariant();
    }
    [[nodiscard]] bool matches(int row, const QString& text) const override {
        return m_look.matches(m_rows.at(row), text);
    }
    [[nodiscard]] SortKey sortKey(int row, int column) const override {
        return m_rows.at(row).sortKey(column);
    }
    [[nodiscard]] bool isCheckable(int column) const override { return column == m_look.checkColumn; }
    [[nodiscard]] QString differenceText(int row) const override {
        for (const auto& difference : m_look.differences)
            if (difference.state == m_rows.at(row).difference()) return difference.text(m_rows.at(row));
        return {};
    }
    [[nodiscard]] bool isOncePerClient() const override { return m_look.isOncePerClient; }
    [[nodiscard]] QStringList differences(int row) const override {
        QStringList lines;
        for (const auto& difference : m_look.differences)
            if (difference.ofCopy && difference.isIn(m_rows.at(row)))
                lines += listOfClients(row, MergedOutlineModel::tr(difference.title), difference.ofCopy);
        return lines;
    }

private:
    [[nodiscard]] static std::vector<Heading> headings(const RowsLook<Row>& look) {
        std::vector<Heading> headings;
        for (const auto& column : look.columns)
            headings.push_back({column.title, column.hasValue});
        return headings;
    }
    const RowsLook<Row>& m_look;
    QList<Row> m_rows;
};
