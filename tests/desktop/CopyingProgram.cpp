// A program in which the user has copied something: copying_program NUMBER PICTURE_SIZE. It offers
// UserCopy::make(NUMBER, PICTURE_SIZE) through GTK, prints "ready", and serves until it is ended.

#include <cstdlib>
#include <iostream>

#include <gtk/gtk.h>

#include "desktop/UserCopy.h"

namespace dresk {
namespace {

void provide(GtkClipboard*, GtkSelectionData* selection, guint index, gpointer data) {
    const std::string& bytes = static_cast<UserCopy*>(data)->items[index].second;
    gtk_selection_data_set(selection, gtk_selection_data_get_target(selection), 8,
                           reinterpret_cast<const guchar*>(bytes.data()),
                           static_cast<gint>(bytes.size()));
}

void lose(GtkClipboard*, gpointer) {}

} // namespace
} // namespace dresk

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    if (argc != 3) {
        g_printerr("usage: copying_program NUMBER PICTURE_SIZE\n");
        return 2;
    }
    auto copy = dresk::UserCopy::make(static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10)),
                                      std::strtoul(argv[2], nullptr, 10));
    std::vector<GtkTargetEntry> targets;
    for (auto& [target, bytes] : copy.items) {
        targets.push_back({target.data(), 0, static_cast<guint>(targets.size())});
    }
    GtkClipboard* clipboard = gtk_clipboard_get(GDK_SELECTION_CLIPBOARD);
    if (gtk_clipboard_set_with_data(clipboard, targets.data(), static_cast<guint>(targets.size()),
                                    &dresk::provide, &dresk::lose, &copy) == FALSE) {
        return 1;
    }
    gdk_display_sync(gdk_display_get_default());
    std::cout << "ready" << std::endl;
    gtk_main();
    return 0;
}
