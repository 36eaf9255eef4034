// SPDX-License-Identifier: MIT
// What the forward headers name is enough to declare with, and agrees with the full headers that
// follow. Compiled, not run.
#include "gatecast/forward.h"

#include <boost/intrusive_ptr.hpp>
#include <boost/shared_ptr.hpp>

// An application's own header, which knows names only.
namespace application {

class Panel {
public:
    json::Variant settings() const;
    json::Type kindOf(const json::Variant& value) const;
    void show(const json::List& entries, const json::Object* details,
              const qx::MailBoxEntry& entry);
    boost::intrusive_ptr<qx::IntrusiveString> name() const;
    qx::Cache<int, json::Object>* cache = nullptr;
    qx::PooledStringMap<json::Variant>* map = nullptr;
    boost::shared_ptr<qx::GatecastConversation> device;
    json::Schema* schema = nullptr;
    const json::Request* last = nullptr;
};

} // namespace application

static_assert(sizeof(json::Type) == 1, "the named enumeration has its size");

#include "gatecast/gatecast.h"

namespace application {

json::Variant Panel::settings() const { return json::Variant::EmptyObject; }
json::Type Panel::kindOf(const json::Variant& value) const { return value.type(); }
void Panel::show(const json::List&, const json::Object*, const qx::MailBoxEntry&) {}
boost::intrusive_ptr<qx::IntrusiveString> Panel::name() const { return new qx::IntrusiveString; }

} // namespace application
