// A GTK text view that a test types into: gtk_target SOCKET.

#include <gdk/gdkx.h>
#include <glib-unix.h>
#include <gtk/gtk.h>

#include "desktop/TargetControl.h"

namespace dresk {
namespace {

struct Target {
    TargetControl control;
    GtkWidget* window = nullptr;
    GtkWidget* view = nullptr;
    GtkTextBuffer* buffer = nullptr;
};

std::string textOf(GtkTextBuffer* buffer) {
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    gchar* text = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
    std::string result = text;
    g_free(text);
    return result;
}

gboolean onKey(GtkWidget*, GdkEventKey* event, gpointer data) {
    static_cast<Target*>(data)->control.keyArrived({event->type == GDK_KEY_PRESS,
                                                    event->hardware_keycode, event->keyval,
                                                    event->send_event != 0});
    return FALSE;
}

gboolean onFocus(GtkWidget*, GdkEventFocus* event, gpointer data) {
    static_cast<Target*>(data)->control.announceFocus(event->in != 0);
    return FALSE;
}

// Runs before the view's own handler, which asks for the clipboard.
void onPaste(GtkTextView*, gpointer data) {
    static_cast<Target*>(data)->control.pasteCommanded();
}

void onChanged(GtkTextBuffer*, gpointer data) {
    static_cast<Target*>(data)->control.textChanged();
}

gboolean onRequest(gint, GIOCondition, gpointer data) {
    static_cast<Target*>(data)->control.serve();
    return G_SOURCE_CONTINUE;
}

void makeWindow(Target& target) {
    target.window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(target.window), "GTK target");
    gtk_window_set_default_size(GTK_WINDOW(target.window), 900, 600);
    target.view = gtk_text_view_new();
    gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(target.view), GTK_WRAP_WORD_CHAR);
    target.buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(target.view));
    GtkWidget* scroller = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_container_add(GTK_CONTAINER(scroller), target.view);
    gtk_container_add(GTK_CONTAINER(target.window), scroller);

    g_signal_connect(target.window, "key-press-event", G_CALLBACK(onKey), &target);
    g_signal_connect(target.window, "key-release-event", G_CALLBACK(onKey), &target);
    g_signal_connect(target.view, "focus-in-event", G_CALLBACK(onFocus), &target);
    g_signal_connect(target.view, "focus-out-event", G_CALLBACK(onFocus), &target);
    g_signal_connect(target.view, "paste-clipboard", G_CALLBACK(onPaste), &target);
    g_signal_connect(target.buffer, "changed", G_CALLBACK(onChanged), &target);
    g_signal_connect(target.window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
}

int runTarget(const char* socketPath) {
    Target target;
    makeWindow(target);
    const TargetControl::Handlers handlers{
        [&] { return textOf(target.buffer); },
        [&] { gtk_text_buffer_set_text(target.buffer, "", 0); },
        [] { gtk_main_quit(); },
    };
    if (!target.control.connect(socketPath, handlers)) {
        g_printerr("gtk_target: cannot connect to %s\n", socketPath);
        return 1;
    }
    g_unix_fd_add(target.control.descriptor(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP),
                  onRequest, &target);
    gtk_widget_show_all(target.window);
    gtk_widget_grab_focus(target.view);
    target.control.announceWindow(
        static_cast<std::uint32_t>(GDK_WINDOW_XID(gtk_widget_get_window(target.window))));
    gtk_main();
    return 0;
}

} // namespace
} // namespace dresk

int main(int argc, char** argv) {
    gtk_init(&argc, &argv);
    if (argc != 2) {
        g_printerr("usage: gtk_target SOCKET\n");
        return 2;
    }
    return dresk::runTarget(argv[1]);
}
