#pragma once

#include <QWidget>

#include <functional>

namespace sonvo::ui {

// The first-run welcome: what the two hotkeys do, where the keys go, and how to dictate on a
// desktop without global key grabs (Wayland).
class Onboarding : public QWidget {
    Q_OBJECT
public:
    // `teclasDisponiveis`: false when this session cannot grab the hotkeys.
    Onboarding(bool teclasDisponiveis, std::function<void()> abrirPreferencias, QWidget* parent = nullptr);
};

} // namespace sonvo::ui
