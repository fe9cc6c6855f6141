/* What goes over /dev/camera_board between the kernel module and the bridge. Each read() gives one question, of a
 * transfer with the bytes behind it; each write() takes one answer, with the bytes that came back. */
#ifndef FAR_SIDE_H
#define FAR_SIDE_H

#include <linux/types.h>

enum far_kind { FAR_TRANSFER, FAR_DRIVE, FAR_LOOK, FAR_ROSE };

struct far_question {
	__u32 kind; /* FAR_TRANSFER, FAR_DRIVE or FAR_LOOK: is the line high? */
	__u32 sequence;
	__u32 line;  /* chip select, or offset of the GPIO line */
	__u32 value; /* bytes to transfer, or level to drive */
	__u32 mode, speed_hz; /* from here on of transfers */
	__u16 delay_usecs, unused;
	__u8 bits_per_word, cs_change, tx_nbits, rx_nbits;
};

struct far_answer {
	__u32 kind;	/* that of the question, or unasked FAR_ROSE: a line had a rising edge */
	__u32 sequence; /* of the question */
	__u32 line;	/* of FAR_ROSE */
	__s32 value;	/* level, 0, or minus errno */
};

#endif
