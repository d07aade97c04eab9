/* The board's touch screen: re-emits the virtual tablet's absolute pointer
 * (QEMU's virtio tablet, which reports a mouse button) as a direct-touch screen
 * of one finger (multi-touch protocol B, with BTN_TOUCH, ABS_X and ABS_Y too) named "board-touch" through uinput, so
 * that Qt's evdevtouch and tslib take it for the panel's touch controller. The tablet sends the position before the
 * button, so a press starts where it lands. */
#include <dirent.h>
#include <fcntl.h>
#include <linux/input.h>
#include <linux/uinput.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

enum { AxisMax = 32767 };

static int openTablet(void)
{
    char path[64], name[128];
    for (int tries = 0; tries < 100; ++tries) {
        for (int n = 0; n < 16; ++n) {
            snprintf(path, sizeof path, "/dev/input/event%d", n);
            int fd = open(path, O_RDONLY);
            if (fd < 0)
                continue;
            if (ioctl(fd, EVIOCGNAME(sizeof name), name) > 0 && strstr(name, "Tablet"))
                return fd;
            close(fd);
        }
        usleep(100000);
    }
    return -1;
}

static void addAxis(int fd, int axis)
{
    struct uinput_abs_setup setup = { .code = axis, .absinfo = { .minimum = 0, .maximum = AxisMax } };
    ioctl(fd, UI_SET_ABSBIT, axis);
    ioctl(fd, UI_ABS_SETUP, &setup);
}

static int makeTouchScreen(void)
{
    int fd = open("/dev/uinput", O_WRONLY);
    if (fd < 0)
        return -1;
    ioctl(fd, UI_SET_EVBIT, EV_KEY);
    ioctl(fd, UI_SET_KEYBIT, BTN_TOUCH);
    ioctl(fd, UI_SET_EVBIT, EV_ABS);
    ioctl(fd, UI_SET_PROPBIT, INPUT_PROP_DIRECT);
    addAxis(fd, ABS_X);
    addAxis(fd, ABS_Y);
    addAxis(fd, ABS_MT_POSITION_X);
    addAxis(fd, ABS_MT_POSITION_Y);
    struct uinput_abs_setup slot = { .code = ABS_MT_SLOT, .absinfo = { .maximum = 0 } };
    ioctl(fd, UI_SET_ABSBIT, ABS_MT_SLOT);
    ioctl(fd, UI_ABS_SETUP, &slot);
    struct uinput_abs_setup id = { .code = ABS_MT_TRACKING_ID, .absinfo = { .maximum = 65535 } };
    ioctl(fd, UI_SET_ABSBIT, ABS_MT_TRACKING_ID);
    ioctl(fd, UI_ABS_SETUP, &id);
    struct uinput_setup setup = { .id = { .bustype = BUS_VIRTUAL, .vendor = 0x1, .product = 0x1 } };
    strcpy(setup.name, "board-touch");
    if (ioctl(fd, UI_DEV_SETUP, &setup) < 0 || ioctl(fd, UI_DEV_CREATE) < 0)
        return -1;
    return fd;
}

static void emit(int fd, int type, int code, int value)
{
    struct input_event event = { .type = type, .code = code, .value = value };
    if (write(fd, &event, sizeof event) != sizeof event)
        perror("touchbridge: write");
}

int main(void)
{
    int tablet = openTablet(), touch = makeTouchScreen();
    if (tablet < 0 || touch < 0) {
        fprintf(stderr, "touchbridge: no %s\n", tablet < 0 ? "tablet" : "uinput");
        return 1;
    }
    int x = 0, y = 0, down = 0, moved = 0, pressed = 0, tracking = 0;
    struct input_event in;
    while (read(tablet, &in, sizeof in) == sizeof in) {
        if (in.type == EV_ABS && (in.code == ABS_X || in.code == ABS_Y)) {
            *(in.code == ABS_X ? &x : &y) = in.value;
            moved = 1;
        } else if (in.type == EV_KEY && in.code == BTN_LEFT) {
            down = in.value != 0;
            pressed = 1;
        } else if (in.type == EV_SYN && in.code == SYN_REPORT && (moved || pressed)) {
            emit(touch, EV_ABS, ABS_MT_SLOT, 0);
            if (pressed)
                emit(touch, EV_ABS, ABS_MT_TRACKING_ID, down ? ++tracking & 0xffff : -1);
            if (down) {
                emit(touch, EV_ABS, ABS_MT_POSITION_X, x);
                emit(touch, EV_ABS, ABS_MT_POSITION_Y, y);
                emit(touch, EV_ABS, ABS_X, x);
                emit(touch, EV_ABS, ABS_Y, y);
            }
            if (pressed)
                emit(touch, EV_KEY, BTN_TOUCH, down);
            emit(touch, EV_SYN, SYN_REPORT, 0);
            moved = pressed = 0;
        }
    }
    return 0;
}
