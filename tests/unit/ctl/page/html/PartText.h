#pragma once

#include "page/html/Parts.h"

#include <string>

namespace ctl
{

/** What a reader sees of a part: its texts with a bar between two, pictures left out. */
inline std::string ReadPart(void (*write)(Html&, const ReportData&), const ReportData& data)
{
    Html html;
    write(html, data);
    std::string text = "|";
    bool isTag = false;
    for (const char letter : html.Get()) {
        isTag = isTag || letter == '<';
        const bool isGap = letter == '\n' && text.back() == '|';
        if (!isTag && !isGap) {
            text += letter == '\n' ? ' ' : letter;
        } else if (text.back() != '|') {
            text += '|';
        }
        isTag = isTag && letter != '>';
    }
    return text;
}

/** A breach of a limit of processor time at second 1000. */
inline TimelineEvent MakeEvent(LogEventKind kind, Wall wall)
{
    TimelineEvent event;
    event.kind = kind;
    event.mWall = wall;
    event.resource = "cpu";
    event.process = "tbrd";
    event.reading = 48.5;
    event.limit = 25;
    event.unit = "Percent";
    return event;
}

} // namespace ctl
