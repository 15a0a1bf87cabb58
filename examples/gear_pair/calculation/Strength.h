#pragma once

#include <string>

#include "examples/gear_pair/calculation/Mesh.h"

namespace GearPair {

/// Tooth root bending of one gear. Stresses in N/mm².
struct RootStrength {
  /// Form factor Y_F for load at the outer point of single pair contact.
  double formFactor = 0.0;
  /// Stress correction factor Y_S for the notch of the fillet.
  double stressCorrection = 0.0;
  /// Bending lever arm h_Fe from the root section to the load's crossing of the centre line, mm.
  double leverArm = 0.0;
  /// Nominal root stress sigma_F0 = F_t / (b m) Y_F Y_S.
  double nominalStress = 0.0;
  /// Root stress sigma_F = sigma_F0 K_A K_v.
  double stress = 0.0;
  /// Root stress that the material endures, sigma_FG = 2 sigma_Flim.
  double limitStress = 0.0;
  /// Safety against root breakage S_F = sigma_FG / sigma_F.
  double safety = 0.0;

  bool operator==(const RootStrength&) const = default;
};

/// Loads and strength of the pair. Forces in N.
struct Strength {
  /// Tangential force at the reference circles, F_t = 2 T / d.
  double tangentialForce = 0.0;
  /// Radial force at the working pitch circles.
  double radialForce = 0.0;
  /// Force along the line of action.
  double normalForce = 0.0;
  /// Velocity of the working pitch circles, m/s.
  double pitchLineVelocity = 0.0;
  /// Transmitted power, kW.
  double power = 0.0;
  double applicationFactor = 1.0;
  /// Dynamic factor K_v.
  double dynamicFactor = 1.0;
  double requiredSafety = 1.0;
  RootStrength pinion;
  RootStrength wheel;
  /// Contact pressure at the pitch point under the load times K_A K_v, N/mm².
  double contactStress = 0.0;

  /// The root strength of one gear.
  const RootStrength& root(Member member) const {
    return member == Member::kPinion ? pinion : wheel;
  }
  /// Whether both gears reach the required safety.
  bool sufficient() const {
    return pinion.safety >= requiredSafety && wheel.safety >= requiredSafety;
  }

  bool operator==(const Strength&) const = default;
};

/// Computes forces, root stresses and contact pressure.
///
/// Root stress in the manner of ISO 6336-3, method B, for spur gears (helix, rim and deep tooth
/// factors are 1):
///   sigma_F0 = F_t / (b m) Y_F Y_S,
///   Y_F = 6 (h_Fe / m) cos(alpha_Fe) / ((s_Fn / m)² cos(alpha)),
///   Y_S = (1.2 + 0.13 L) q_s^(1 / (1.21 + 2.3 / L)), L = s_Fn / h_Fe, q_s = s_Fn / (2 rho_F),
///   sigma_F = sigma_F0 K_A K_v, S_F = sigma_Flim Y_ST / sigma_F with Y_ST = 2.
/// F_t in N at the reference circle, face width b and module m in mm, s_Fn, h_Fe and rho_F in mm
/// from the computed fillet, alpha_Fe the load's direction at the outer point of single pair
/// contact. K_v = (3.56 + sqrt(v)) / 3.56 for hobbed teeth, pitch line velocity v in m/s (Barth's
/// equation in the form of Shigley's Mechanical Engineering Design).
///
/// Simplifications: load even across the face width and shared ideally (K_Fbeta = K_Falpha = 1),
/// and life, size, notch sensitivity and roughness factors of 1 (unlimited life).
///
/// Contact pressure in the manner of ISO 6336-2:
///   sigma_H = Z_H Z_E sqrt(F_t K_A K_v / (d1 b) (u + 1) / u),
/// at the pitch point, without a limit being judged.
Strength computeStrength(const Requirements& requirements, const ToothForm& pinion,
                         const ToothForm& wheel, const Mesh& mesh);

/// Zone factor Z_H of ISO 6336-2 for spur gears: sqrt(2 cos(working pressure angle) /
/// (cos²(pressure angle) sin(working pressure angle))).
double zoneFactor(const Requirements& requirements);

/// Elasticity factor Z_E of ISO 6336-2, sqrt(N/mm²).
double elasticityFactor(const Material& pinion, const Material& wheel);

/// One sentence: whether the pair reaches the required safety, and if not, what would help.
std::string strengthVerdict(const Strength& strength);

}  // namespace GearPair
