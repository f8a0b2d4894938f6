// Short forms of what the window's parts make again and again.
#pragma once

#include <libgimp/gimpui.h>

namespace kowen::gimp {

inline void Pack(GtkWidget *box, GtkWidget *child) {
    gtk_box_pack_start(GTK_BOX(box), child, FALSE, FALSE, 0);
}

/// A box under a title in bold.
inline GtkWidget *Framed(const char *title, GtkWidget *child) {
    GtkWidget *frame = gimp_frame_new(title);
    gtk_container_add(GTK_CONTAINER(frame), child);
    return frame;
}

inline GtkWidget *LeftLabel(const char *text) {
    GtkWidget *label = gtk_label_new(text);
    gtk_misc_set_alignment(GTK_MISC(label), 0, 0.5);
    return label;
}

/// A label with a mnemonic before what it names.
inline GtkWidget *Labelled(const char *text, GtkWidget *child) {
    GtkWidget *box = gtk_hbox_new(FALSE, 6);
    GtkWidget *label = gtk_label_new_with_mnemonic(text);
    gtk_label_set_mnemonic_widget(GTK_LABEL(label), child);
    Pack(box, label);
    gtk_box_pack_start(GTK_BOX(box), child, TRUE, TRUE, 0);
    return box;
}

inline void MakeBold(GtkWidget *label) {
    gimp_label_set_attributes(GTK_LABEL(label), PANGO_ATTR_WEIGHT, PANGO_WEIGHT_BOLD, -1);
}

inline void MakeSmall(GtkWidget *label) {
    gimp_label_set_attributes(GTK_LABEL(label), PANGO_ATTR_SCALE, PANGO_SCALE_SMALL,
                              PANGO_ATTR_STYLE, PANGO_STYLE_ITALIC, -1);
}

} // namespace kowen::gimp
