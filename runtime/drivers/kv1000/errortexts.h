// The error texts that the driver leaves for the runtime. It knows nothing of when they apply.
#ifndef DRIVERS_KV1000_ERRORTEXTS_H
#define DRIVERS_KV1000_ERRORTEXTS_H

namespace errortext
{

const char PacketLoss[] = "packet loss";
const char InvalidResponse[] = "invalid response";
const char InvalidResponse1[] = "invalid response1";
const char InvalidResponse2[] = "invalid response2";
const char InvalidResponse3[] = "invalid response3";
const char InvalidResponseColon[] = "invalid response:";

// Each of these is followed directly by what it speaks of: the controller's reply, the address as
// the request gave it, or symbol and number of a bit.
const char ErrorReply[] = "Response During an Error:";
const char InvalidAddress[] = "invalid device address: ";
const char CantReadWord[] = "can't read word from ";
const char CantWriteWord[] = "can't write word to ";
const char CantWriteBit[] = "can't write bit to ";

} // namespace errortext

#endif
