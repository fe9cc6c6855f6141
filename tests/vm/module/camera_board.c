// SPDX-License-Identifier: MIT OR GPL-2.0
/* A camera board as the kernel sees it: SPI bus 1 with two chip selects on spidev, sixteen GPIO lines with interrupts,
 * a thermal zone. Behind it is a process that has opened /dev/camera_board (far_side.h): each transfer, driven output and
 * read level is a question to it, which waits for the answer; rising edges are what it tells. */
#include <linux/gpio/consumer.h>
#include <linux/gpio/driver.h>
#include <linux/gpio/machine.h>
#include <linux/irq.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/platform_device.h>
#include <linux/poll.h>
#include <linux/property.h>
#include <linux/spi/spi.h>
#include <linux/thermal.h>

#include "far_side.h"

#define NAME "camera_board"
#define LINES 16

static int base = 32;		 /* number of the first line, -1: the kernel's choice */
static char *names = "firmware"; /* who has named the lines: the firmware or the driver */
static int twin;		 /* first number of another chip of the same label and size, nothing behind it; 0: none */
static bool twin_inside;	 /* which belongs to the same device */
static int held = -1;		 /* a line that the board itself holds */
static bool lsb_first = true;	 /* the SPI controller can send the least significant bit first */
static int temp = 45000;	 /* of the thermal zone, in 1/1000 degree Celsius */
module_param(base, int, 0444);
module_param(names, charp, 0444);
module_param(twin, int, 0444);
module_param(twin_inside, bool, 0444);
module_param(held, int, 0444);
module_param(lsb_first, bool, 0444);
module_param(temp, int, 0644);

/* The question that is asked, one at a time. */
static DEFINE_MUTEX(asking);
static DEFINE_MUTEX(far_lock); /* what follows */
static DECLARE_WAIT_QUEUE_HEAD(readers);
static DECLARE_COMPLETION(answered);
static struct far_question question;
static const void *bytes_out;
static void *bytes_in;
static bool present, unread, waiting;
static int far_status;

/* What was answered, or minus errno; 0 with nobody there. */
static int ask(struct far_question what, const void *out, void *in)
{
	static u32 sequence;
	bool asked;
	int status = 0;

	mutex_lock(&asking);
	mutex_lock(&far_lock);
	question = what;
	question.sequence = ++sequence;
	bytes_out = out;
	bytes_in = in;
	asked = unread = waiting = present;
	reinit_completion(&answered);
	mutex_unlock(&far_lock);
	if (asked) {
		wake_up_interruptible(&readers);
		wait_for_completion_timeout(&answered, 2 * HZ);
		mutex_lock(&far_lock);
		status = waiting ? -ETIMEDOUT : far_status;
		unread = waiting = false;
		mutex_unlock(&far_lock);
	}
	mutex_unlock(&asking);
	return status;
}

/* GPIO lines */
static struct gpio_chip chip, other_chip;
static struct fwnode_handle *firmware_names;
static struct gpio_desc *held_line;
static DECLARE_BITMAP(outputs, LINES);

static const char *const line_names[LINES] = {
	[5] = "imc_req", [8] = "cam_power", "cam_power_good", "cam_reset", "cam_reset_pcie", "cam_init_done", "cam_pcie_clk",
	"cam_fw_complete", "fpga_reset",
};
static const char *all_names[LINES]; /* as a device tree has them, a text for each line */
static const struct property_entry name_properties[] = { PROPERTY_ENTRY_STRING_ARRAY("gpio-line-names", all_names), { } };

static int line_get(struct gpio_chip *gc, unsigned int line)
{
	return gc == &chip ? ask((struct far_question){ .kind = FAR_LOOK, .line = line }, NULL, NULL) : 0;
}

static void line_set(struct gpio_chip *gc, unsigned int line, int level)
{
	if (gc == &chip)
		ask((struct far_question){ .kind = FAR_DRIVE, .line = line, .value = level }, NULL, NULL);
}

static int line_direction(struct gpio_chip *gc, unsigned int line)
{
	return test_bit(line, outputs) ? GPIO_LINE_DIRECTION_OUT : GPIO_LINE_DIRECTION_IN;
}

static int line_input(struct gpio_chip *gc, unsigned int line)
{
	clear_bit(line, outputs);
	return 0;
}

static int line_output(struct gpio_chip *gc, unsigned int line, int level)
{
	set_bit(line, outputs);
	line_set(gc, line, level);
	return 0;
}

static void irq_mask(struct irq_data *data)
{
	gpiochip_disable_irq(&chip, irqd_to_hwirq(data));
}

static void irq_unmask(struct irq_data *data)
{
	gpiochip_enable_irq(&chip, irqd_to_hwirq(data));
}

static int irq_set_type(struct irq_data *data, unsigned int type)
{
	return type == IRQ_TYPE_EDGE_RISING ? 0 : -EINVAL;
}

static const struct irq_chip irqs = {
	.name = NAME, .irq_mask = irq_mask, .irq_unmask = irq_unmask, .irq_set_type = irq_set_type,
	.flags = IRQCHIP_IMMUTABLE, GPIOCHIP_IRQ_RESOURCE_HELPERS,
};

static int add_chip(struct gpio_chip *gc, struct device *parent, int first)
{
	*gc = (struct gpio_chip){
		.label = NAME, .parent = parent, .owner = THIS_MODULE, .base = first, .ngpio = LINES,
		.can_sleep = true, .get = line_get, .set = line_set, .get_direction = line_direction,
		.direction_input = line_input, .direction_output = line_output,
	};
	if (gc == &chip) {
		gc->fwnode = firmware_names;
		gc->names = strcmp(names, "driver") ? NULL : line_names;
		gpio_irq_chip_set_chip(&gc->irq, &irqs);
		gc->irq.handler = handle_simple_irq;
		gc->irq.default_type = IRQ_TYPE_NONE;
	}
	return gpiochip_add_data(gc, NULL);
}

/* SPI */
static int transfer(struct spi_controller *spi, struct spi_device *device, struct spi_transfer *xfer)
{
	if (xfer->rx_buf)
		memset(xfer->rx_buf, 0xff, xfer->len); /* the line floats */
	return ask((struct far_question){
		.kind = FAR_TRANSFER, .line = device->chip_select, .value = xfer->len, .mode = device->mode,
		.speed_hz = xfer->speed_hz, .delay_usecs = xfer->delay.value, .bits_per_word = xfer->bits_per_word,
		.cs_change = xfer->cs_change, .tx_nbits = xfer->tx_nbits, .rx_nbits = xfer->rx_nbits,
	}, xfer->tx_buf, xfer->rx_buf);
}

/* The far side */
static int far_open(struct inode *inode, struct file *file)
{
	return xchg(&present, true) ? -EBUSY : 0;
}

static int far_release(struct inode *inode, struct file *file)
{
	present = false;
	return 0;
}

static ssize_t far_read(struct file *file, char __user *to, size_t size, loff_t *at)
{
	ssize_t got = -EAGAIN;

	mutex_lock(&far_lock);
	if (unread) {
		got = sizeof question + (bytes_out ? question.value : 0);
		if (size < got || copy_to_user(to, &question, sizeof question) ||
		    (bytes_out && copy_to_user(to + sizeof question, bytes_out, question.value)))
			got = -EFAULT;
		unread = false;
	}
	mutex_unlock(&far_lock);
	return got;
}

static ssize_t far_write(struct file *file, const char __user *from, size_t size, loff_t *at)
{
	struct far_answer answer;
	size_t data = size - sizeof answer;

	if (size < sizeof answer || copy_from_user(&answer, from, sizeof answer))
		return -EFAULT;
	if (answer.kind == FAR_ROSE) {
		if (answer.line < LINES)
			generic_handle_domain_irq_safe(chip.irq.domain, answer.line);
		return size;
	}
	mutex_lock(&far_lock);
	if (waiting && question.sequence == answer.sequence) {
		far_status = answer.value;
		if (bytes_in && data && (data > question.value || copy_from_user(bytes_in, from + sizeof answer, data)))
			far_status = -EFAULT;
		waiting = false;
		complete(&answered);
	}
	mutex_unlock(&far_lock);
	return size;
}

static __poll_t far_poll(struct file *file, poll_table *table)
{
	poll_wait(file, &readers, table);
	return EPOLLOUT | (READ_ONCE(unread) ? EPOLLIN : 0);
}

static const struct file_operations far_operations = {
	.owner = THIS_MODULE, .open = far_open, .release = far_release, .read = far_read, .write = far_write, .poll = far_poll,
};
static struct miscdevice far_device = { .minor = MISC_DYNAMIC_MINOR, .name = NAME, .fops = &far_operations };

/* The board and its parts */
static struct platform_device *board;
static struct spi_controller *spi;
static struct thermal_zone_device *zone;

static int zone_temp(struct thermal_zone_device *device, int *millidegrees)
{
	*millidegrees = temp;
	return 0;
}
static struct thermal_zone_device_ops zone_operations = { .get_temp = zone_temp };

static int add_spi(void)
{
	struct spi_board_info device = { .modalias = "camera-block", .max_speed_hz = 10000000 };
	struct spi_controller *made = spi_alloc_master(&board->dev, 0);
	int status;

	if (!made)
		return -ENOMEM;
	made->bus_num = 1;
	made->num_chipselect = 2;
	made->mode_bits = SPI_CPOL | SPI_CPHA | SPI_CS_HIGH | (lsb_first ? SPI_LSB_FIRST : 0);
	made->bits_per_word_mask = SPI_BPW_MASK(8);
	made->max_speed_hz = 10000000;
	made->transfer_one = transfer;
	status = spi_register_controller(made);
	if (status) {
		spi_controller_put(made);
		return status;
	}
	spi = made;
	for (device.chip_select = 0; device.chip_select < 2; device.chip_select++)
		if (!spi_new_device(spi, &device))
			return -ENODEV;
	return 0;
}

static int add_parts(void)
{
	int i, status = 0;

	/* The other chip comes first, where somebody who only counts looks. */
	if (twin)
		status = add_chip(&other_chip, twin_inside ? &board->dev : NULL, twin);
	/* Not a property of the board's: the GPIO device would put that node, too, when it goes. */
	for (i = 0; i < LINES; i++)
		all_names[i] = line_names[i] ?: "";
	if (!strcmp(names, "firmware"))
		firmware_names = fwnode_create_software_node(name_properties, NULL);
	if (!status && IS_ERR(firmware_names))
		status = PTR_ERR(firmware_names);
	if (!status)
		status = add_chip(&chip, &board->dev, base);
	if (!status && held >= 0) {
		held_line = gpiochip_request_own_desc(&chip, held, NAME, GPIO_ACTIVE_HIGH, GPIOD_IN);
		status = PTR_ERR_OR_ZERO(held_line);
	}
	if (!status)
		status = add_spi();
	if (!status) {
		zone = thermal_zone_device_register(NAME, 0, 0, NULL, &zone_operations, NULL, 0, 0);
		status = PTR_ERR_OR_ZERO(zone);
	}
	return status;
}

static void camera_board_exit(void)
{
	if (!IS_ERR_OR_NULL(zone))
		thermal_zone_device_unregister(zone);
	if (spi)
		spi_unregister_controller(spi);
	if (!IS_ERR_OR_NULL(held_line))
		gpiochip_free_own_desc(held_line);
	if (chip.gpiodev)
		gpiochip_remove(&chip);
	if (!IS_ERR_OR_NULL(firmware_names))
		fwnode_remove_software_node(firmware_names);
	if (other_chip.gpiodev)
		gpiochip_remove(&other_chip);
	platform_device_unregister(board);
	misc_deregister(&far_device);
}

static int __init camera_board_init(void)
{
	int status = misc_register(&far_device);

	if (status)
		return status;
	board = platform_device_register_simple(NAME, PLATFORM_DEVID_NONE, NULL, 0);
	status = PTR_ERR_OR_ZERO(board);
	if (status) {
		misc_deregister(&far_device);
		return status;
	}
	status = add_parts();
	if (status)
		camera_board_exit();
	return status;
}

module_init(camera_board_init);
module_exit(camera_board_exit);
MODULE_DESCRIPTION("A camera board whose far side is a process");
MODULE_LICENSE("Dual MIT/GPL");
