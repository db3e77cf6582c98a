// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/VolumeTestBed.h"

#include <gio/gio.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

namespace quorrel {

/// The session's gvfs as later releases have it: everything but AFP. The server itself is there and well.
class MountWithoutAppleTest : public VolumeTestBed {
protected:
    /// Before anything starts gvfs, whose daemon reads this once.
    static void SetUpTestSuite() {
        namespace fs = std::filesystem;
        const auto folder = variable("QTB_DIR") + "/mounts-without-afp";
        fs::create_directory(folder);
        int count = 0;
        for (const auto& entry : fs::directory_iterator("/usr/share/gvfs/mounts")) {
            const auto name = entry.path().filename().string();
            if (name.starts_with("afp"))
                continue;
            fs::copy_file(entry.path(), folder + "/" + name, fs::copy_options::overwrite_existing);
            ++count;
        }
        ASSERT_GT(count, 0);
        setInSession("GVFS_MOUNTABLE_DIR", folder);
    }

    /// For what the session bus starts from now on.
    static void setInSession(const std::string& name, const std::string& value) {
        GError* error = nullptr;
        const std::unique_ptr<GDBusConnection, decltype(&g_object_unref)> bus(
            g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error), g_object_unref);
        ASSERT_TRUE(bus) << error->message;
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
        g_variant_builder_add(&builder, "{ss}", name.c_str(), value.c_str());
        GVariant* reply = g_dbus_connection_call_sync(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
            "org.freedesktop.DBus", "UpdateActivationEnvironment", g_variant_new("(a{ss})", &builder), nullptr,
            G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, &error);
        ASSERT_TRUE(reply) << error->message;
        g_variant_unref(reply);
    }
};

TEST_F(MountWithoutAppleTest, AppleVolumeCannotBeMountedAndTheLogSaysWhy) {
    const auto reply = service->mountServerVolume(asUser(url("afp", "AFP", "Private"), "Private"));
    EXPECT_EQ(reply.status, VolumeStatus::cannotBeMounted);
    EXPECT_EQ(reply.volumeReference, 0);
    EXPECT_TRUE(sink.contains("The desktop's gvfs cannot mount afp at all"));
    EXPECT_FALSE(isThere(volumePath("Private")));
}

TEST_F(MountWithoutAppleTest, OthersAreMountedAllTheSame) {
    const auto reply = service->mountServerVolume(asGuest(url("smb", "SMB", "pub"), "pub"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    EXPECT_EQ(contentOf(volumePath("pub") + "/hello.txt"), "Hello from pub\n");
    EXPECT_FALSE(sink.contains("at all"));
}

} // namespace quorrel
