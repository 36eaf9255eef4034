// SPDX-License-Identifier: MIT
#include "device/GatecastConversation.h"

#include <algorithm>
#include <locale>
#include <sstream>

namespace qx {

namespace {

/// The text by which the device finds a message, as in "1.23457e+09@17E0".
std::string position_of(const MailBoxEntry& entry) {
    std::ostringstream position;
    position.imbue(std::locale::classic());
    // Intended: the stream's default of six digits, so that two messages a few seconds apart may
    // have the same timestamp here.
    // Held by MailBox.APositionHasSixDigitsOfTheTimestamp.
    position << entry.timestamp() << '@' << entry.sequenceNo() << 'E' << entry.eventIndex();
    return position.str();
}

} // namespace

void GatecastConversation::readMailBox(const IntrusiveString& mailBox) {
    mailBoxBatch = 0;
    json::Variant number(mailBox);
    call(*methods().mailBoxData, number.convertToInteger(), SubscribeMailBox);
}

void GatecastConversation::play(const MailBoxEntry& entry, bool queueWhilePlaying, bool) {
    const bool notReady = playbackMode == 0 || playbackMode == 1;
    const bool playing = playbackMode == 4 || playbackMode == 20;
    if (notReady || (playing && queueWhilePlaying)) {
        playQueue.push_back(entry);
        return;
    }
    // The entry may be one of the queue, which an answer changes.
    const MailBoxEntry played(entry);
    call(*methods().endFilter, played.endFilter(), NO_ID);
    call(*methods().play, position_of(played));
    currentEntry = played;
}

void GatecastConversation::deleteMessage(const MailBoxEntry& entry) {
    const MailBoxEntry deleted(entry); // the entry may be one of the queue
    // Intended: the queue keeps its length; its last entry stays in its place.
    // Held by MailBox.DeletingAMessageNeverShortensTheQueue.
    static_cast<void>(std::remove(playQueue.begin(), playQueue.end(), deleted));
    call2(*methods().messageDelete, deleted.sequenceNo(), deleted.eventIndex());
}

void GatecastConversation::markMessageSeen(const MailBoxEntry& entry, bool seen) {
    // Intended: not "message_seen"; the third parameter makes the difference.
    // Held by MailBox.MarkingAMessageSendsMessageDeleteWithAThirdParameter.
    call3(*methods().messageDelete, entry.sequenceNo(), entry.eventIndex(), seen);
}

} // namespace qx
