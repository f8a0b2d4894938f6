#include "settings_panel.h"

#include "widgets.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace kowen::gimp {
namespace {

constexpr int kScaleWidth = 180;
constexpr double kMostDpi = 65535;

// Letters with Alt are shared with GTK's file chooser, which has f, l, n and p, and with the
// window's buttons: c, d and e.

SettingsPanel *Panel(gpointer self) {
    return static_cast<SettingsPanel *>(self);
}

// With one digit behind the point at most.
std::string Number(double value) {
    char text[32];
    const bool whole = std::abs(value - std::round(value)) < 0.05;
    return g_ascii_formatd(text, sizeof text, whole ? "%.0f" : "%.1f", value);
}

std::string PixelsPerInch(double x, double y) {
    const std::string across = Number(x), down = Number(y);
    return across == down ? across : across + " × " + down;
}

std::string HexColour(const GimpRGB &colour) {
    guchar red = 0, green = 0, blue = 0;
    gimp_rgb_get_uchar(&colour, &red, &green, &blue);
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", red, green, blue);
    return text;
}

} // namespace

SettingsPanel::SettingsPanel(const PanelImage &shown, const Choices &start,
                             std::function<void()> told)
    : image(shown), choices(start), changed(std::move(told)) {
    widget = gtk_vbox_new(FALSE, 12);
    GtkWidget *columns = gtk_hbox_new(FALSE, 24);
    GtkWidget *right = gtk_vbox_new(FALSE, 12);
    Pack(columns, MakePictureFrame());
    Pack(right, MakeMetadataFrame());
    Pack(right, MakeProfileFrame());
    gtk_box_pack_start(GTK_BOX(columns), right, TRUE, TRUE, 0);
    Pack(widget, columns);
    Pack(widget, MakeEstimateFrame());
    gtk_widget_show_all(widget);
    ShowProfile();
    ShowValues();
}

// Making.

GtkWidget *SettingsPanel::MakePictureFrame() {
    GtkWidget *box = gtk_vbox_new(FALSE, 6);
    Pack(box, MakeQualityTable());
    AddCheck(box, "Pro_gressive",
             "The whole picture is there early while it is being fetched, and gets sharper.",
             "progressive", "yes", "no", true);
    AddCheck(box, "Gre_y", "Saves the brightness alone.", "colour", "grey", "ycc422", true);
    Pack(box, MakeResolution());
    if (image.transparent)
        Pack(box, MakeBackground());
    return Framed("Picture", box);
}

GtkWidget *SettingsPanel::MakeQualityTable() {
    GtkWidget *table = gtk_table_new(1, 3, FALSE);
    gtk_table_set_col_spacings(GTK_TABLE(table), 6);
    quality = gimp_scale_entry_new(
        GTK_TABLE(table), 0, 0, "_Quality:", kScaleWidth, 4, KOWEN_HOST_MAX_QUALITY,
        KOWEN_HOST_MIN_QUALITY, KOWEN_HOST_MAX_QUALITY, 1, 5, 0, TRUE, 0, 0,
        "89 has the quantisation of 75 in most other programs, 100 that of 95.", nullptr);
    g_signal_connect(quality, "value-changed", G_CALLBACK(QualityMoved), this);
    return table;
}

GtkWidget *SettingsPanel::MakeResolution() {
    GtkWidget *box = gtk_hbox_new(FALSE, 6);
    const std::string own = "_as the image (" + PixelsPerInch(image.xDpi, image.yDpi) + ")";
    ownResolution = gtk_check_button_new_with_mnemonic(own.c_str());
    resolution = gtk_spin_button_new_with_range(1, kMostDpi, 1);
    gimp_help_set_help_data(ownResolution, "Says of the file what the image says.", nullptr);
    gimp_help_set_help_data(resolution,
                            "What the file says about its resolution. The pixels stay as they are.",
                            nullptr);
    Pack(box, Labelled("Resol_ution:", resolution));
    Pack(box, gtk_label_new("pixels/in"));
    Pack(box, ownResolution);
    g_signal_connect(ownResolution, "toggled", G_CALLBACK(OwnResolutionToggled), this);
    g_signal_connect(resolution, "value-changed", G_CALLBACK(ResolutionChanged), this);
    return box;
}

GtkWidget *SettingsPanel::MakeBackground() {
    const GimpRGB white = {1, 1, 1, 1};
    background = gimp_color_button_new("Background of transparent pixels", 48, 20, &white,
                                       GIMP_COLOR_AREA_FLAT);
    gimp_color_button_set_update(GIMP_COLOR_BUTTON(background), TRUE);
    gimp_help_set_help_data(background, "JPEG files have no transparency.", nullptr);
    g_signal_connect(background, "color-changed", G_CALLBACK(BackgroundChanged), this);
    GtkWidget *box = gtk_hbox_new(FALSE, 0);
    Pack(box, Labelled("Bac_kground of transparent pixels:", background));
    return box;
}

GtkWidget *SettingsPanel::MakeMetadataFrame() {
    const ImageMetadata &metadata = *image.metadata;
    GtkWidget *box = gtk_vbox_new(FALSE, 6);
    AddCheck(box, "E_XIF data", "Camera, date, place and the like.", "exif", "keep", "drop",
             !metadata.exif.empty());
    std::string profileLabel = "C_olour profile";
    if (!metadata.profileName.empty())
        profileLabel += " (" + metadata.profileName + ")";
    AddCheck(box, profileLabel.c_str(), "Without it the colours are converted to sRGB.", "icc",
             "keep", "drop", !metadata.icc.empty());
    AddCheck(box, "Co_mment", metadata.comment.empty() ? nullptr : metadata.comment.c_str(),
             "comment", "keep", "drop", !metadata.comment.empty());
    return Framed("Stored with the picture", box);
}

GtkWidget *SettingsPanel::MakeProfileFrame() {
    GtkWidget *box = gtk_vbox_new(FALSE, 6);
    GtkWidget *file = gtk_hbox_new(FALSE, 6);
    profile = gtk_file_chooser_button_new("Settings profile", GTK_FILE_CHOOSER_ACTION_OPEN);
    noProfile = gtk_button_new_with_mnemonic("Clea_r");
    section = gtk_combo_box_text_new();
    gimp_help_set_help_data(profile, "A file of settings that programs share.", nullptr);
    gtk_box_pack_start(GTK_BOX(file), profile, TRUE, TRUE, 0);
    Pack(file, noProfile);
    Pack(box, file);
    Pack(box, Labelled("_Section:", section));
    g_signal_connect(profile, "file-set", G_CALLBACK(ProfileChosen), this);
    g_signal_connect(noProfile, "clicked", G_CALLBACK(ProfileCleared), this);
    g_signal_connect(section, "changed", G_CALLBACK(SectionChosen), this);
    return Framed("Settings from a profile", box);
}

GtkWidget *SettingsPanel::MakeEstimateFrame() {
    GtkWidget *box = gtk_vbox_new(FALSE, 2);
    GtkWidget *line = gtk_hbox_new(FALSE, 12);
    size = LeftLabel("");
    facts = LeftLabel("");
    notes = LeftLabel("");
    MakeBold(size);
    MakeSmall(notes);
    gtk_label_set_line_wrap(GTK_LABEL(notes), TRUE);
    Pack(line, size);
    Pack(line, facts);
    Pack(box, line);
    Pack(box, notes);
    return Framed("The file will have", box);
}

void SettingsPanel::AddCheck(GtkWidget *box, const char *label, const char *tip, const char *name,
                             const char *on, const char *off, bool useful) {
    GtkWidget *button = gtk_check_button_new_with_mnemonic(label);
    if (tip != nullptr)
        gimp_help_set_help_data(button, tip, nullptr);
    Pack(box, button);
    checks.push_back({button, name, on, off, useful});
    g_signal_connect(button, "toggled", G_CALLBACK(CheckToggled), this);
}

// Showing.

void SettingsPanel::ShowValues() {
    KowenResult result = EmptyResult();
    Settings settings = SettingsOf(choices, &result);
    if (!settings) // the estimate says why
        settings.reset(KowenNewSettings());
    showing = true;
    gtk_adjustment_set_value(GTK_ADJUSTMENT(quality),
                             std::atoi(ValueOf(settings.get(), "quality").c_str()));
    const bool grey = ValueOf(settings.get(), "colour") == "grey";
    for (const Check &check : checks) {
        const std::string value = ValueOf(settings.get(), check.name);
        const bool progressive = std::string(check.name) == "progressive";
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(check.button),
                                     check.useful && value == check.on);
        gtk_widget_set_sensitive(check.button, check.useful && !(progressive && grey));
    }
    ShowResolution(ValueOf(settings.get(), "dpi"));
    ShowBackground(ValueOf(settings.get(), "background"));
    showing = false;
}

void SettingsPanel::ShowBackground(const std::string &value) {
    GimpRGB colour = {1, 1, 1, 1};
    if (background != nullptr && gimp_rgb_parse_hex(&colour, value.c_str(), -1))
        gimp_color_button_set_color(GIMP_COLOR_BUTTON(background), &colour);
}

void SettingsPanel::ShowResolution(const std::string &value) {
    const int dpi = std::atoi(value.c_str()); // 0: a word
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(ownResolution), dpi == 0);
    gtk_spin_button_set_value(GTK_SPIN_BUTTON(resolution), dpi != 0 ? dpi : image.xDpi);
}

void SettingsPanel::ShowProfile() {
    const bool some = !choices.profile.empty();
    showing = true;
    if (some)
        gtk_file_chooser_set_filename(GTK_FILE_CHOOSER(profile), choices.profile.c_str());
    else
        gtk_file_chooser_unselect_all(GTK_FILE_CHOOSER(profile));
    gtk_widget_set_sensitive(noProfile, some);
    gtk_widget_set_sensitive(section, some);
    gtk_list_store_clear(GTK_LIST_STORE(gtk_combo_box_get_model(GTK_COMBO_BOX(section))));
    if (some)
        ListSections();
    showing = false;
}

// The first entry stands for the section that the profile itself names.
void SettingsPanel::ListSections() {
    auto *list = GTK_COMBO_BOX_TEXT(section);
    gtk_combo_box_text_append_text(list, "(as the profile says)");
    int chosen = 0;
    char name[256];
    for (int i = 0; KowenProfileSection(choices.profile.c_str(), static_cast<size_t>(i), name,
                                        sizeof name, nullptr) == KOWEN_HOST_OK;
         ++i) {
        gtk_combo_box_text_append_text(list, name);
        if (choices.section == name)
            chosen = i + 1;
    }
    gtk_combo_box_set_active(GTK_COMBO_BOX(section), chosen);
}

void SettingsPanel::ShowEstimate(const KowenResult &result) {
    gtk_widget_set_sensitive(size, TRUE);
    gtk_widget_set_sensitive(facts, TRUE);
    if (result.code != KOWEN_HOST_OK) {
        gtk_label_set_text(GTK_LABEL(size), "");
        gtk_label_set_text(GTK_LABEL(facts), "");
        gtk_label_set_text(GTK_LABEL(notes), result.message);
        return;
    }
    gchar *bytes = g_format_size(result.bytes);
    gchar *rest = g_strdup_printf("%u × %u pixels at %s pixels/in, %" G_GUINT64_FORMAT " bytes",
                                  result.width, result.height,
                                  PixelsPerInch(result.xDpi, result.yDpi).c_str(), result.bytes);
    gtk_label_set_text(GTK_LABEL(size), bytes);
    gtk_label_set_text(GTK_LABEL(facts), rest);
    gtk_label_set_text(GTK_LABEL(notes), g_strchomp(std::string(result.notesText).data()));
    g_free(bytes);
    g_free(rest);
}

void SettingsPanel::ShowWorking() {
    gtk_widget_set_sensitive(size, FALSE);
    gtk_widget_set_sensitive(facts, FALSE);
}

// Choosing.

void SettingsPanel::Tell() {
    ShowWorking();
    changed();
}

void SettingsPanel::Choose(const std::string &name, const std::string &value) {
    choices.values[name] = value;
    if (name == "colour" && value == "grey") // such files are sequential
        choices.values["progressive"] = "no";
    ShowValues();
    Tell();
}

// A profile shows its own values, whatever was chosen before.
void SettingsPanel::ChooseProfile(const std::string &path, const std::string &name) {
    choices.profile = path;
    choices.section = name;
    if (!path.empty())
        for (const char *setting : {"quality", "progressive", "colour", "dpi"})
            choices.values.erase(setting);
    ShowProfile();
    ShowValues();
    Tell();
}

void SettingsPanel::Reset() {
    choices = Choices();
    ShowProfile();
    ShowValues();
    Tell();
}

void SettingsPanel::QualityMoved(GtkAdjustment *adjustment, gpointer self) {
    if (!Panel(self)->showing)
        Panel(self)->Choose("quality", Number(gtk_adjustment_get_value(adjustment)));
}

void SettingsPanel::CheckToggled(GtkToggleButton *button, gpointer self) {
    SettingsPanel *panel = Panel(self);
    if (panel->showing)
        return;
    for (const Check &check : panel->checks)
        if (check.button == GTK_WIDGET(button))
            panel->Choose(check.name, gtk_toggle_button_get_active(button) ? check.on : check.off);
}

void SettingsPanel::OwnResolutionToggled(GtkToggleButton *button, gpointer self) {
    SettingsPanel *panel = Panel(self);
    if (panel->showing)
        return;
    const double shown = gtk_spin_button_get_value(GTK_SPIN_BUTTON(panel->resolution));
    panel->Choose("dpi", gtk_toggle_button_get_active(button) ? "picture" : Number(shown));
}

void SettingsPanel::ResolutionChanged(GtkSpinButton *button, gpointer self) {
    if (!Panel(self)->showing)
        Panel(self)->Choose("dpi", Number(gtk_spin_button_get_value(button)));
}

void SettingsPanel::BackgroundChanged(GimpColorButton *button, gpointer self) {
    GimpRGB colour;
    gimp_color_button_get_color(button, &colour);
    if (!Panel(self)->showing)
        Panel(self)->Choose("background", HexColour(colour));
}

void SettingsPanel::ProfileChosen(GtkFileChooserButton *button, gpointer self) {
    gchar *path = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(button));
    if (!Panel(self)->showing && path != nullptr)
        Panel(self)->ChooseProfile(path, "");
    g_free(path);
}

void SettingsPanel::ProfileCleared(GtkButton *, gpointer self) {
    Panel(self)->ChooseProfile("", "");
}

void SettingsPanel::SectionChosen(GtkComboBox *box, gpointer self) {
    SettingsPanel *panel = Panel(self);
    if (panel->showing)
        return;
    gchar *name = gtk_combo_box_text_get_active_text(GTK_COMBO_BOX_TEXT(box));
    const std::string path = panel->choices.profile;
    panel->ChooseProfile(path, gtk_combo_box_get_active(box) > 0 && name != nullptr ? name : "");
    g_free(name);
}

} // namespace kowen::gimp
