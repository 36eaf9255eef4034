// SPDX-License-Identifier: MIT
#include "expect.h"
#include "phone.h"

#include <iostream>
#include <map>
#include <string>

namespace {

class Phone : public QuietPhone {
public:
    std::map<std::int64_t, Image> shown;
    Image live;

    void show(const qx::MailBoxEntry& message) {
        const std::int64_t key = message.sequenceNo();
        const Image image = downloadMailPreviewImage(key, static_cast<int>(message.sequenceNo()),
                                                     static_cast<int>(message.eventIndex()), true);
        if (image) shown[key] = image; // from the cache; otherwise it is on its way
    }

protected:
    void mailPreviewReady(std::int64_t key, Image image) override { shown[key] = image; }
    void livePreviewReady(Image image) override { live = image; }
};

std::string answer_to(const json::Request& request, const std::string& binary) {
    return R"({"result":true,"id":)" + std::to_string(request.referenceId()) + "}" + '\0' + binary;
}

void of_a_message() {
    Phone phone;
    json::Variant row;
    row["alarmimage"] = "101.7";
    const qx::MailBoxEntry message(row);

    phone.show(message);
    EXPECT(phone.lastCall() == "preview_message [101,101,0]");
    EXPECT(phone.shown.empty());
    phone.receive(answer_to(phone.sent.back(), "header\xFF\xD8picture"));
    EXPECT(*phone.shown[101] == "\xFF\xD8picture");

    phone.shown.clear();
    phone.show(message); // from the cache: nothing is sent
    EXPECT(phone.sent.size() == 1 && phone.shown.size() == 1);
}

void of_the_live_view() {
    Phone phone;
    phone.downloadLivePreviewImage(320, 240, false);
    EXPECT(phone.lastCall() == "preview_live [320,240]");
    phone.receive(answer_to(phone.sent.back(), "\xFF\xD8now"));
    EXPECT(*phone.live == "\xFF\xD8now");
}

void a_cache_alone() {
    qx::MemoryCache<unsigned long long, std::string> images(2, true); // locked
    images.putCopy(1, "one");
    images.putCopy(2, "two");
    const boost::shared_ptr<std::string> held = images.get(1); // a read counts as use
    images.putCopy(3, "three");                                // drops 2
    EXPECT(images.contains(1) && !images.contains(2) && images.contains(3));
    images.clear();
    EXPECT(*held == "one"); // what you hold outlives the cache's copy
}

void a_chain_of_caches() {
    using Memory = qx::MemoryCache<unsigned long long, std::string>;
    qx::MultiCache<unsigned long long, std::string> chain(std::make_unique<Memory>(10, true));
    chain.append(std::make_unique<Memory>(1000, true)); // asked when the first one misses
    chain.putCopy(7, "seven");
    EXPECT(chain.valueOf(7) == "seven");
    EXPECT(chain.valueOf(8).empty());
}

} // namespace

int main() {
    of_a_message();
    of_the_live_view();
    a_cache_alone();
    a_chain_of_caches();
}
