#include "outlook/item_window.h"

#include "outlook/item_properties.h"

namespace tf::outlook {

namespace {

QString className(long c) {
    switch (c) {
        case 26:
            return QStringLiteral("Appointment");
        case 40:
            return QStringLiteral("Contact");
        case 42:
            return QStringLiteral("Journal Entry");
        case 43:
            return QStringLiteral("Message");
        case 44:
            return QStringLiteral("Note");
        case 45:
            return QStringLiteral("Post");
        case 46:
            return QStringLiteral("Report");
        case 48:
            return QStringLiteral("Task");
        case 49:
        case 50:
        case 51:
        case 52:
            return QStringLiteral("Task Request");
        case 53:
            return QStringLiteral("Meeting Request");
        case 54:
            return QStringLiteral("Meeting Cancellation");
        case 55:
        case 56:
        case 57:
            return QStringLiteral("Meeting Response");
        case 69:
            return QStringLiteral("Distribution List");
        default:
            return QStringLiteral("Item");
    }
}

QString dateText(OleDate date) {
    if (isNoDate(date)) {
        return QStringLiteral("None");
    }
    return toQDateTime(date).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

}  // namespace

ItemContent contentOf(const ItemFields& item) {
    ItemContent content;
    const long c = item.itemClass;
    const QString subject = item.subject.isEmpty() ? QStringLiteral("(no subject)") : item.subject;
    content.caption = subject + QStringLiteral(" - ") + className(c);
    auto add = [&content](const QString& label, const QString& value) {
        content.fields.append(qMakePair(label, value));
    };
    if (hasSender(c)) {
        add(QStringLiteral("From"), item.sender);
    }
    add(c == olContact || c == olDistributionList ? QStringLiteral("Name")
                                                  : QStringLiteral("Subject"),
        item.subject);
    if (hasReceivedTime(c)) {
        add(QStringLiteral("Received"), dateText(item.received));
    }
    if (hasTaskDates(c)) {
        add(QStringLiteral("Due"), dateText(item.due));
        add(QStringLiteral("Completed"), dateText(item.completed));
    }
    if (hasStart(c)) {
        add(QStringLiteral("Start"), dateText(item.start));
    }
    if (hasEnd(c)) {
        add(QStringLiteral("End"), dateText(item.end));
    }
    add(QStringLiteral("Modified"), dateText(item.modified));
    content.body = item.body;
    return content;
}

}  // namespace tf::outlook
