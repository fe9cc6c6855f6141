// A PTZ service of the test's own, and ptzctl that asks it.
#pragma once

#include "tests/tools/program_fixture.h"

// A bus with a PTZ service that answers as a test wants.
class Program : public BusTest {
  protected:
    ~Program() override { g_clear_pointer(&node_, g_dbus_node_info_unref); }

    void serve();
    RunResult ptzctl(const std::string &line) { return run_ptzctl(line, "", address()); }

    std::string calls; // "Method(arguments)" of each call so far, with blanks between, the id of a move as N
    std::string reason = "reached"; // how moves that have a number end
    std::string refusal;            // the name of the error that calls end with, unless empty
    bool is_silent = false;         // calls are not answered

  private:
    static void on_call(GDBusConnection *, const char *, const char *, const char *, const char *method,
                        GVariant *arguments, GDBusMethodInvocation *invocation, gpointer data);

    // Tells the end of a move that has a number.
    void tell_end(guint32 id);

    Client owner_{address()};
    GDBusNodeInfo *node_ = nullptr;
};
