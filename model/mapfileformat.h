#pragma once

#include <QString>

// What the map file reader and writer agree on beyond the tags: the limits a file must keep
// to be loaded, and which names may become element tags.
//
// Our own files nest five levels deep (map, supply, port list, port, field) and hold about
// 8 MB for 15,000 lights. The limits leave several times that room and keep a hostile or
// damaged file from exhausting the stack, the memory or the user's patience: the window lays
// out names as it shows them, so one name of megabytes freezes it for seconds. (The file's
// size is limited by MapModel::kMaxMapFileBytes.)
namespace MapFileFormat {

// Element nesting, the root counted as 1. Our files reach 5; hand-written files may wrap
// texts in markup, whose text is taken. Deeper files are refused.
constexpr int kMaxDepth = 32;
// Supplies, lights, groups and effects together (installations reach 15,000 lights).
// Larger files are refused.
constexpr int kMaxObjects = 65536;
// A supply's lights and a group's members, over the whole file. Larger files are refused.
constexpr int kMaxReferences = 1000000;
// Characters of one element's text; the background image's path may reach the system's
// path limit. A longer text is not taken: its field keeps what it had, and the loader says so.
constexpr int kMaxTextLength = 1024;
constexpr int kMaxPathLength = 4096;
// Device properties of one light or supply; properties past this are not taken.
constexpr int kMaxProperties = 256;
// The loader's messages about one file: past these the rest are only counted, so that a
// damaged file cannot flood the log, the status bar or the memory.
constexpr int kMaxNotes = 1000;

// True when `name` can be written as an element tag and read back as the same name by any
// XML reader: ASCII letters and '_', then also digits, '-' and '.'. Device tokens are such
// names; XML allows more, but readers differ on which, and a ':' would make a namespace
// prefix. The reader refuses other property names, so what it keeps the writer can write.
bool isElementName(const QString &name);

} // namespace MapFileFormat
