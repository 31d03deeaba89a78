/* measure_loudness.c: measures one second of a tone that peaks at a tenth of full scale. */
#include <math.h>
#include <stdio.h>
#include <tonekit/tonekit.h>

enum { RATE = 48000 };

int main(void)
{
    static double samples[2 * RATE]; /* left, right, left, ... */
    for (int frame = 0; frame < RATE; ++frame)
        samples[2 * frame] = samples[2 * frame + 1] = 0.1 * sin(6.283185307179586 * 997 * frame / RATE);

    ReplayGainState *state = ReplayGain_Init(2, RATE);
    ReplayGain_Process(state, samples, RATE); /* again for each further buffer of the track */
    const double gain = ReplayGain_GetLoudness(state);
    const double peak = ReplayGain_GetPeak(state);
    ReplayGain_Deinit(state);

    printf("ReplayGain %.2f dB, peak %.4f\n", gain, peak);
    return fabs(gain - 2.0) < 0.05 && fabs(peak - 0.1) < 0.0001 ? 0 : 1;
}
