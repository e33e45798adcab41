#include "Scenarios.h"

#include <glib.h>

namespace Bench {
namespace {

gboolean runPosted(gpointer item) {
    run(*static_cast<const Item*>(item));
    return G_SOURCE_REMOVE;
}

void freePosted(gpointer item) {
    g_slice_free(Item, static_cast<Item*>(item));
}

gpointer makePosted(const Item& item) {
    return g_slice_dup(Item, &item);
}

/// Idle calls of the default main context.
class IdleAdd {
public:
    explicit IdleAdd(bool) {}

    void post(const Item& item) {
        g_idle_add_full(G_PRIORITY_DEFAULT, &runPosted, makePosted(item), &freePosted);
    }

    void runAll() {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }
};

/// Idle sources of a main context of the thread's own.
class OwnContext {
public:
    explicit OwnContext(bool) {}

    ~OwnContext() {
        g_main_context_unref(context);
    }

    OwnContext(const OwnContext&) = delete;
    OwnContext& operator=(const OwnContext&) = delete;

    void post(const Item& item) {
        GSource* const source = g_idle_source_new();
        g_source_set_callback(source, &runPosted, makePosted(item), &freePosted);
        g_source_attach(source, context);
        g_source_unref(source);
    }

    void runAll() {
        while (g_main_context_iteration(context, FALSE)) {
        }
    }

private:
    GMainContext* const context = g_main_context_new();
};

const bool areAdded = addContender<IdleAdd>("GLib g_idle_add") && addContender<OwnContext>("GLib main context");

} // namespace
} // namespace Bench
