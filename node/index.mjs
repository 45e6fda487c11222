import zelectronframework from './index.cjs';

export const { ElectronFramework, FrameworkError, Subscription, diagnose, mask, mock } =
  zelectronframework;
